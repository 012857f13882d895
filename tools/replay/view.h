// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "feed/feedplayer.h"

/// One line of a feed, and what came of it.
struct Played
{
    const QString &file;
    qint64 number;
    const QString &caseName; ///< Of the case that the line belongs to; empty if there is none.
    const FeedLine &line;
    const Outcome &outcome;

    QString place() const { return file + QLatin1Char(':') + QString::number(number); }

    /// What stands before a message about the line: place, case and database, as far as there are several.
    QString heading() const;
};

/// What the program was asked to look for. It sees each call that was played, and prints at once or in the end.
class View
{
    Q_DISABLE_COPY(View)

public:
    View() = default;
    virtual ~View() = default;

    virtual void follow(const Played &played) = 0;

    /// The feeds have ended, or playing was stopped. Returns whether all was good.
    virtual bool finish() { return true; }
};
