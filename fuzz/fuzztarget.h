// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QCoreApplication>

#include <cstdio>
#include <cstdlib>

// What each target begins with; one source of a target includes it.

/// How many calls of the library there were, told in the end.
static long calls = 0;

// NOLINTNEXTLINE(misc-definitions-in-headers): one source of a target includes it
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static QCoreApplication app(*argc, *argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    std::atexit([] { std::fprintf(stderr, "%ld calls\n", calls); });
    return 0;
}
