// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "views.h"

#include <QtCore/QPair>
#include <QtCore/QStringList>

/// What the command line asks for.
struct Options
{
    QStringList files;
    qint64 until = 0;                                ///< The last line to play; 0 for all.
    QVector<QPair<const ViewKind *, QString>> views; ///< With their arguments.
    bool check = false;                              ///< One of them compares log lines.
    bool follow = false;
    bool json = false;
    bool log = false;
    bool quiet = false;
    bool stats = false;
    bool strict = false;
    QString error; ///< What is wrong with it.
    QString text;  ///< What to print in the place of playing: the help or the version.
};

Options readOptions(const QStringList &arguments);
