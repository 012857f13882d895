// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "poolordering_p.h"

#include "storedpool_p.h"

#include <algorithm>
#include <vector>

struct RankedPool : Rules::Rank
{
    VmPoolNode *pool;
};

void sortPools(QList<VmPoolNode *> &pools)
{
    // Each pool is ranked once, not at each comparison.
    std::vector<RankedPool> ranked;
    ranked.reserve(size_t(pools.size()));
    for (VmPoolNode *pool : std::as_const(pools))
        ranked.push_back({pool ? StoredPool(pool).rank() : Rules::Rank{1, 0, 0}, pool});
    Rules::sortPools(ranked);
    std::transform(ranked.cbegin(), ranked.cend(), pools.begin(), [](const RankedPool &pool) { return pool.pool; });
}
