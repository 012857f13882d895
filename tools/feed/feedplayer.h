// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "operations.h"

#include <vmdatabase/vmdatabase.h>

#include <QtCore/QByteArray>

/// Plays a feed into a database of its own, one line at a time.
class FeedPlayer
{
public:
    struct Line
    {
        QString operation; ///< Empty for a line without a call: blank, a comment, or not understood.
        Outcome outcome;
    };

    /// Plays one line: `["operation", argument, ...]`, a comment that begins with #, or nothing. What is not understood
    /// or not allowed changes nothing.
    Line play(const QByteArray &line);

    VmDatabase &database() { return m_database; }

    /// Whether the feed has closed the database, which leaves nothing to look at.
    bool isClosed() const { return m_closed; }

private:
    VmDatabase m_database;
    bool m_closed = false;
};
