// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "ranking.h"
#include "store/playedcall.h"

#include "rules/facts_p.h"

#include <map>

/// Why a pool of one database is shown or hidden at one moment: which call wrote HiddenKey last, also if it wrote the same
/// value again, what it read of the stores then, and what of that is different now.
struct PoolExplanation
{
    struct Event
    {
        Place place;
        QJsonArray call; ///< Empty if a case has begun there.
    };
    struct Decision
    {
        Event event;
        std::optional<Rules::Decision> kind;           ///< None if the client wrote the value itself.
        QString group;                                 ///< Of the pool then.
        Ranking ranking;                               ///< Of its group then; empty if the pool was decided upon alone.
        Rules::PoolRule rule = Rules::PoolRule::Empty; ///< If it was alone.
        RankedPool pool;                               ///< As it was then.
        QStringList log;                               ///< What the library logged about the pool and its group.
        bool failureCleared = false;
        bool answersPool = false; ///< If it is a wheel.
    };
    struct LaterChange
    {
        Event event;
        Change change;
    };
    int database = 1;
    QString pool;
    QString name;
    QString hidden; ///< The text under HiddenKey, while it was stored.
    std::optional<Event> added;
    std::optional<Event> removed;
    std::optional<Decision> decision;

    /// Facts that the decision read and that are others now, each with the last change of it, in the feed's order: the
    /// first few. Empty only if the same decision would write and rank alike. Nothing is said of a removed pool.
    QVector<LaterChange> later;
    int laterCount = 0;
};

/// Follows a feed to explain one pool. A feed may hold the pool in several databases.
class Explanation
{
public:
    explicit Explanation(const QString &pool)
        : m_pool(pool)
    {}

    void follow(const PlayedCall &played);

    /// Whether a call that has made this change can matter to an explanation of any pool. One that decides can, too.
    static bool canMatter(const Change &change) { return factsChangedBy(change) != 0; }

    const QString &pool() const { return m_pool; }

    /// The databases in which the feed has mentioned the pool so far.
    QList<int> databases() const;

    /// A pool whose name is the text that should be a uuid; null if there is none.
    QString namesake() const { return m_namesake; }

    /// The explanation in one of the databases, in which \a now is stored.
    PoolExplanation at(int database, const StoreCopy &now) const;

private:
    using Event = PoolExplanation::Event;
    struct Decision
    {
        Event event;
        std::optional<Rules::Decision> kind;
        QString group;
        StoreCopy stored; // after it
        QStringList log;
        bool failureCleared = false;
        bool answersPool = false;
    };
    struct LaterChange : PoolExplanation::LaterChange
    {
        qint64 number = 0;
    };
    struct Case // what is known of the pool in one database
    {
        std::optional<Event> added;
        std::optional<Event> removed;
        std::optional<Decision> decision;
        std::map<std::pair<QString, unsigned>, LaterChange> later; // the last of each pool and fact since the decision
        StoreCopy::Values values;
    };

    static unsigned factsChangedBy(const Change &change);
    void followChanges(Case &pool, const PlayedCall &played);
    void followDecision(Case &pool, const PlayedCall &played) const;
    PoolExplanation::Decision explain(const Decision &decision) const;
    QStringList logOf(const Decision &decision, const PoolExplanation::Decision &explained) const;
    QVector<PoolExplanation::LaterChange> changesSince(const Case &pool, const StoreCopy &now) const;

    QString m_pool;
    std::map<int, Case> m_cases; // by database
    QString m_namesake;
    qint64 m_lastNumber = 0;
};
