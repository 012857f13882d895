// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "contract.h"
#include "feed/feedline.h"

#include <deque>
#include <map>

/// Finds calls of a recording that ran at the same time on different threads and must not: contract.h says which. Lines
/// stand in the order in which calls ended, so a line is compared with those before it. Remembers the last ones only;
/// a call that takes longer than a thousand others is compared with the last thousand.
class Overlaps
{
public:
    /// What is wrong with the next line, which has this number: "main: getVmPoolNameList  beside  feeder: ... (line 7)".
    QStringList next(const FeedLine &line, qint64 lineNumber);

    /// The next line is the first one of another feed, whose calls overlap with none before.
    void beginFeed() { m_databases.clear(); }

private:
    struct Call
    {
        qint64 lineNumber;
        qint64 entered;
        double begin; // in microseconds; negative if it is not known
        double end;
        QString thread;
        Touched touched;
    };
    struct Database
    {
        StoredNames names;
        std::deque<Call> calls;
    };
    static bool overlap(const Call &earlier, const Call &later);

    std::map<int, Database> m_databases;
};
