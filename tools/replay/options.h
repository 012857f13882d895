// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QStringList>

/// What the command line asks for.
struct Options
{
    QStringList files;
    qint64 until = 0; ///< The last line to play; 0 for all.
    QString explain;  ///< A pool; null for none.
    QString history;  ///< What of; null for none.
    QString dumpPool;
    bool check = false;
    bool diff = false;
    bool dump = false;
    bool follow = false;
    bool json = false;
    bool lint = false;
    bool log = false;
    bool quiet = false;
    bool stats = false;
    bool strict = false;
    bool tree = true;
    QString error; ///< What is wrong with it.
    QString text;  ///< What to print in the place of playing: the help or the version.
};

Options readOptions(const QStringList &arguments);
