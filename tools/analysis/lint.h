// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "ranking.h"
#include "store/playedcall.h"

#include <QtCore/QHash>
#include <QtCore/QQueue>

#include <array>
#include <map>

/// Something that is allowed but suspicious. What is not said of a member belongs to every kind.
struct Finding
{
    enum Kind {
        AddedByReading,      ///< A reading call has added a pool: subject; perhaps removed.
        NoNumber,            ///< A decision would read a number, but the text is none: change.
        UndefinedLead,       ///< Nothing says which of several pools a decision shows: group, ranking.
        NothingRemoved,      ///< What was to be removed is not there: subject; perhaps removed.
        WheelHidesUngrouped, ///< The wheel of the empty group has hidden pools that have nothing in common: pools.
        LeakedItem,          ///< A policy was written under an empty pool uuid.
    };
    static constexpr int kinds = LeakedItem + 1;

    Kind kind = AddedByReading;
    Place place;
    int database = 1;
    QJsonArray call;
    QString subject;
    std::optional<Place> removed; ///< Where it was removed before.
    Change change;
    QString group;
    Ranking ranking;
    QStringList pools;
};

/// Keeps what was put in last, up to a limit.
template <typename Value>
class Recent
{
public:
    explicit Recent(int most)
        : m_most(most)
    {}

    void put(const QString &key, const Value &value)
    {
        if (!m_values.contains(key))
            m_keys.enqueue(key);
        m_values.insert(key, value);
        if (m_keys.size() > m_most)
            m_values.remove(m_keys.dequeue());
    }
    const Value *find(const QString &key) const
    {
        const auto it = m_values.constFind(key);
        return it == m_values.cend() ? nullptr : &*it;
    }

private:
    int m_most;
    QQueue<QString> m_keys;
    QHash<QString, Value> m_values;
};

/// Finds what is allowed but suspicious in a feed, whatever its threads; for those see overlaps.h.
///
/// A finding has a cause: its kind, and the pool, group or other thing that it is about, in one case and database. It
/// is reported where the cause is first seen; later ones are counted. Of each kind the first 100 causes are reported
/// and the others counted, so that the memory for it is constant.
class Lint
{
public:
    static constexpr int mostCauses = 100;

    /// The new findings at this call.
    QVector<Finding> follow(const PlayedCall &played);

    /// How many findings there were, with those that were only counted.
    qint64 count() const { return m_count; }

    /// How often a reported finding came.
    struct Cause
    {
        Finding::Kind kind = Finding::AddedByReading;
        Place first;
        Place last;
        qint64 count = 0;
    };

    /// The reported ones, in order.
    const QVector<const Cause *> &causes() const { return m_reported; }

    /// How many findings of a kind were only counted, since there were too many causes.
    qint64 uncaused(Finding::Kind kind) const { return m_uncaused.at(size_t(kind)); }

private:
    QString key(const QString &name) const;
    Finding *find(Finding::Kind kind, const QString &cause);
    void lookAtCall(const PlayedCall &played);
    void lookAtChange(const Change &change, const PlayedCall &played);
    void lookAtRemoval(const PlayedCall &played);
    void lookAtDecision(const PlayedCall &played);
    void lookAtGroup(const QString &group, const RankedPools &pools);

    std::array<std::map<QString, Cause>, Finding::kinds> m_causes;
    QVector<const Cause *> m_reported;
    std::array<qint64, Finding::kinds> m_uncaused{}; // counted only
    qint64 m_count = 0;
    Recent<Place> m_removed{10000};
    int m_case = 0;
    std::map<int, bool> m_ranksChanged; // since a decision about all groups, by database

    // Of the call that is being looked at.
    const PlayedCall *m_played = nullptr;
    QVector<Finding> m_findings;
};
