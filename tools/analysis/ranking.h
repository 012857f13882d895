// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "store/storecopy.h"

/// Whether \a item makes its pool active.
bool isActive(const StoreCopy::Item &item);

/// A pool of a group, with all that decides about it.
struct RankedPool
{
    QString uuid;
    StoreCopy::Values values; ///< As stored at the moment in question.
    int items = 0;
    bool active = false; ///< Whether one of its items is.

    QString name() const;
    QString value(int key) const { return values.value(key); }
    uint number(int key) const; ///< As the decisions read it.
};

/// The pools of one group in the library's own order, and what its decision about them would be.
struct Ranking
{
    /// What put the first pool before the second.
    enum Reason {
        OnlyPool,  ///< There is no second one.
        NotFailed, ///< The second one failed to connect.
        Preferred,
        Priority,
        Undefined, ///< Nothing did: another time the second one may be first.
    };
    /// What dealVmGroupPool() shows.
    enum Rule {
        ShowsSeveral, ///< The lead, since a pool allows several desktops and is preferred.
        ShowsEmpty,   ///< The lead, since no pool holds an item.
        ShowsNothing, ///< A pool holds an item.
    };
    QVector<RankedPool> pools;
    Reason reason = OnlyPool;
    Rule rule = ShowsNothing;
};

/// The pools of \a group by uuid; an empty one means those without a group.
QVector<RankedPool> poolsOfGroup(const StoreCopy &stored, const QString &group);

/// Those of every group.
QMap<QString, QVector<RankedPool>> poolsByGroup(const StoreCopy &stored);

/// Ranks \a pools, as poolsOfGroup() lists them. The library does it, in a database of its own that holds nothing else;
/// no other database is touched. Logs nothing.
Ranking rankPools(const QVector<RankedPool> &pools);

/// Why \a lead goes before \a second, by their own values.
Ranking::Reason whyFirst(const RankedPool &lead, const RankedPool &second);

/// Two different values under \a key among \a pools that are both not 0; an empty pair if there are none. With such
/// failure or preference flags in a group, other pools than these two may change places as well.
QPair<QString, QString> clashingFlags(const QVector<RankedPool> &pools, int key);

/// The reason as a sentence about the lead: "it has not failed to connect" for example.
QString describeReason(const Ranking &ranking);

/// A number text as it decides: 10, none, "high" (counts as 0).
QString describeNumber(const QString &text, int key);

/// Whether \a text is a number as the decisions read \a key; they take 0 for any other.
bool isNumber(const QString &text, int key);

/// The ranking as the lines of a table, a pool in each; the lead is marked with its reason.
QStringList drawRanking(const Ranking &ranking);
QJsonObject toJson(const Ranking &ranking);
