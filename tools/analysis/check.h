// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "feed/feedline.h"
#include "store/feedplayer.h"

#include <deque>
#include <set>

/// One thing that came of a call and is not as it is recorded.
struct Difference
{
    enum Kind {
        NotPlayed, ///< The call could not be made: see error.
        Answer,
        Log,     ///< The first lines that differ.
        Signals, ///< The first ones that differ.
    };
    Kind kind = Answer;
    QJsonArray call;
    QString error;
    QJsonValue played; ///< Undefined for nothing, or nothing more.
    QJsonValue recorded;

    // A feed is played in the order in which its calls ended, which need not be the order in which they came to the store.
    // What ran at the same time and may be the reason:
    std::optional<QJsonArray> overlapping;
    QString overlappingThread;
    std::optional<qint64> missing; ///< A call that began before has not ended yet; FeedLine::entered.
};

/// Compares what came of a call with what a feed has recorded of it, as far as it has. A feed may say that it records
/// everything, {"feed": 1, "complete": true}: there a call without `log` or `signals` logs or emits nothing. Log lines that
/// are switched off where the feed is played (QT_LOGGING_RULES) are not compared.
class Check
{
public:
    Check();

    /// What is different.
    QVector<Difference> compare(const FeedLine &recorded, const Outcome &played);

    /// The next line is the first one of another feed: nothing that was recorded before says anything of it.
    void beginFeed();

    int compared() const { return m_compared; }
    int different() const { return m_different; }

    /// The severities of log lines that are switched off.
    const QStringList &notLogged() const { return m_notLogged; }

private:
    void follow(const FeedLine &line);
    void addOverlap(const FeedLine &line, QVector<Difference> &differences) const;
    QStringList logged(QStringList lines) const;
    void forgetCalls();

    struct Played
    {
        QJsonArray call;
        QString thread;
        int database;
        qint64 entered;
        double end; // in seconds; 0 if it is not known
    };
    static constexpr int reach = 1000; // calls further away from each other are not compared
    std::deque<Played> m_recent;       // the newest last
    std::set<qint64> m_missing;        // numbers below the highest of which no line was read yet
    std::optional<qint64> m_highest;
    QStringList m_notLogged;
    bool m_complete = false;
    int m_compared = 0; // calls of which something is recorded
    int m_different = 0;
};
