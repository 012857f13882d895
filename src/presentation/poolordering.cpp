// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "poolordering_p.h"

#include "records/recordaccess_p.h"
#include "vmdatabase/vdivm.h"
#include "vmdatabase/vmpoolnode.h"

#include <QtCore/QtAlgorithms>

#include <algorithm>
#include <iterator>
#include <vector>

// What ranks a pool, and the pool itself.
struct RankedPool
{
    VmPoolNode *pool;
    uint failed;
    uint preferred;
    uint priority;
};

static RankedPool rank(VmPoolNode *pool)
{
    if (!pool)
        return {nullptr, 1, 0, 0};
    return {pool, VmRecordAccess::toUnsigned(pool, VdiVM::FailedToConnectKey),
            VmRecordAccess::toUnsigned(pool, VdiVM::PreferredKey),
            VmRecordAccess::toUnsigned(pool, VdiVM::PriorityKey)};
}

static bool goesFirst(const RankedPool &a, const RankedPool &b)
{
    if (a.failed != b.failed)
        return b.failed != 0;
    if (a.preferred != b.preferred)
        return b.preferred == 0;
    return a.priority > b.priority;
}

void sortPools(QList<VmPoolNode *> &pools)
{
    // Each pool is ranked once, not at each comparison.
    std::vector<RankedPool> ranked;
    ranked.reserve(size_t(pools.size()));
    std::transform(pools.cbegin(), pools.cend(), std::back_inserter(ranked), rank);

    // std::sort may read out of bounds with an order that is not strict and weak; qSort checks its bounds at every
    // step. It is deprecated because it is slower, which does not matter here.
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    qSort(ranked.begin(), ranked.end(), goesFirst);
    QT_WARNING_POP

    std::transform(ranked.cbegin(), ranked.cend(), pools.begin(), [](const RankedPool &pool) { return pool.pool; });
}
