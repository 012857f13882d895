// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "ranking.h"
#include "store/playedcall.h"

#include <map>

/// Why a pool is shown or hidden: which call wrote HiddenKey last, also if it wrote the same value again, what the
/// values and the library's log lines were at that moment, and what has changed since. A feed may hold the pool in
/// several databases; there is one explanation for each.
class Explanation
{
public:
    explicit Explanation(const QString &pool)
        : m_pool(pool)
    {}

    void follow(const PlayedCall &played);

    /// Whether the feed has mentioned the pool so far.
    bool isKnown() const { return !m_cases.empty(); }

    /// The explanation as text of several lines.
    QString text() const;

    /// The same as data, by database.
    QJsonObject toJson() const;

private:
    struct Event
    {
        Place place;
        QJsonArray call;
    };
    struct Decision
    {
        Event event;
        QString group;             // of the pool then
        QVector<RankedPool> pools; // that were decided together, or the pool alone
        RankedPool pool;
        QStringList log; // what of it is about the pool
        bool failureCleared = false;
        bool answersPool = false; // if it is a wheel
    };
    struct LaterChange
    {
        Event event;
        Change change;
    };
    struct Case // what is known of the pool in one database
    {
        std::optional<Event> added;
        std::optional<Event> removed;
        std::optional<Decision> decision;
        QVector<LaterChange> later; // what the decision would depend on, the first few
        int laterCount = 0;
        QString name;
        QString group;
        QString hidden;
    };

    void followChanges(Case &pool, const PlayedCall &played) const;
    void followDecision(Case &pool, const PlayedCall &played) const;
    QString describeDecision(const Decision &decision, const Ranking &ranking) const;
    QStringList logOf(const Decision &decision, const Ranking &ranking) const;
    QString text(const Case &pool) const;
    QJsonObject toJson(const Case &pool) const;

    QString m_pool;
    std::map<int, Case> m_cases; // by database
    QString m_namesake;          // a pool whose name is the text that should be a uuid
};
