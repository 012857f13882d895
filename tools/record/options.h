// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVector>

/// What the program asks of the library that it preloads. It goes through one environment variable, so that programs
/// that the client starts are recorded, too.
struct RecordOptions
{
    static constexpr const char *variable = "VMDATABASE_RECORD";

    QByteArray file;     ///< Absolute.
    int pid = 0;         ///< Of the process that was asked for.
    qint64 maxSize = 0;  ///< In bytes; 0 for no limit.
    QVector<int> redact; ///< Keys whose values are not written.
    bool answers = true; ///< Write what came of each call.
    bool checkThreads = false;
    int stretch = 0; ///< Microseconds for which each call is held back.

    QByteArray toJson() const;
    static RecordOptions fromJson(const QByteArray &json);
};
