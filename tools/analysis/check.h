// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "feed/feedline.h"
#include "store/feedplayer.h"

#include <deque>
#include <set>

/// Compares what came of a call with what a feed has recorded of it, as far as it has. A feed may say that it records
/// everything, {"feed": 1, "complete": true}: there a call without `log` or `signals` logs or emits nothing.
class Check
{
public:
    /// What is different, whole: "getItemCount() answers 12, recorded 11". Empty if nothing is. Where another call ran
    /// at the same time and may be the reason, that is said behind it: a feed is played in the order in which its calls
    /// ended, which need not be the order in which they came to the store.
    QStringList compare(const FeedLine &recorded, const Outcome &played);

    /// The next line is the first one of another feed: nothing that was recorded before says anything of it.
    void beginFeed();

    int compared() const { return m_compared; }
    int different() const { return m_different; }

private:
    void follow(const FeedLine &line);
    QString overlap(const FeedLine &line) const;
    void forgetCalls();

    struct Call
    {
        QJsonArray call;
        QString thread;
        int database;
        qint64 entered;
        double end; // in seconds; 0 if it is not known
    };
    static constexpr int reach = 1000; // calls further away from each other are not compared
    std::deque<Call> m_recent;         // the newest last
    std::set<qint64> m_missing;        // numbers below the highest of which no line was read yet
    std::optional<qint64> m_highest;
    bool m_complete = false;
    int m_compared = 0; // calls of which something is recorded
    int m_different = 0;
};
