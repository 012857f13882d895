// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "store/storecopy.h"

#include "rules/visibility_p.h"

#include <optional>
#include <vector>

/// What decisions read of \a pool, as numbers.
Rules::PoolFacts factsOf(const StoreCopy::Pool &pool);

/// Whether \a item makes its pool active.
bool isActive(const StoreCopy::Item &item);

/// A pool of a group, with all that decides about it.
struct RankedPool : Rules::PoolFacts
{
    QString uuid;
    StoreCopy::Values values; ///< As stored at the moment in question.
    int items = 0;

    QString name() const;
    QString value(int key) const { return values.value(key); }
};
using RankedPools = std::vector<RankedPool>;

/// The pools of one group in the library's order, and what a decision about them would be.
struct Ranking
{
    RankedPools pools;
    Rules::Lead lead; ///< Its contenders are positions in pools.
    Rules::GroupRule rule = Rules::GroupRule::Nothing;
};

RankedPool rankedPool(const QString &uuid, const StoreCopy::Pool &pool);

/// The pools of \a group by uuid; an empty one means those without a group.
RankedPools poolsOfGroup(const StoreCopy &stored, const QString &group);

/// Those of every group.
QMap<QString, RankedPools> poolsByGroup(const StoreCopy &stored);

/// Ranks \a pools, as poolsOfGroup() lists them.
Ranking rankPools(RankedPools pools);

/// The number that decisions read under \a key; none where they take 0 for a text that is no number.
std::optional<qint64> numberOf(const QString &text, int key);
