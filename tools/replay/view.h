// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "store/playedcall.h"

/// One line of a feed, what came of it, and the case that it belongs to.
struct Played : PlayedCall
{
    QString caseName; ///< Empty if there is none.

    /// What stands before a message about the line: place, case and database, as far as there are several.
    QString heading() const;
};

class Sink;

/// What a view is made for.
struct ViewContext
{
    Sink &sink;
    const FeedPlayer &player;
};

/// What the program was asked to look for. It sees each line that was played, and prints at once or in the end.
class View
{
    Q_DISABLE_COPY(View)

public:
    View(const ViewContext &context, const QString &argument)
        : m_context(context)
        , m_argument(argument)
    {}
    virtual ~View() = default;

    /// The next line is the first one of a feed.
    virtual void beginFeed() {}

    virtual void follow(const Played &played) = 0;

    /// The feeds have ended, or playing was stopped. Returns whether all was good.
    virtual bool finish() { return true; }

protected:
    Sink &sink() const { return m_context.sink; }
    const FeedPlayer &player() const { return m_context.player; }

    /// The option's value; null if it has none.
    const QString &argument() const { return m_argument; }

private:
    const ViewContext m_context;
    const QString m_argument;
};
