// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/private/vmdatabase_p.h"
#include "vmdatabase/vmdatabase.h"

#include "log_p.h"
#include "poolordering_p.h"
#include "storedpool_p.h"

#include <utility>

static void logDecision(const char *decision, VmPoolNode *pool)
{
    Log::info() << decision << pool->getValue(VdiVM::NameKey) << ", keyPerrior:" << pool->getValue(VdiVM::PriorityKey);
}

static void dealPool(VmPoolNode *pool)
{
    if (pool->haveActiveItem())
        pool->setValue(VdiVM::FailedToConnectKey, QStringLiteral("0"));

    const StoredPool stored(pool);
    const Rules::PoolRule rule = Rules::poolRule(stored);
    if (rule == Rules::PoolRule::Always) // a message handler finds it as it was, but a pool of a group hidden
        logDecision("pool allowMultiDynamicDesktop, DO SHOW ", pool);
    stored.set(Rules::visibilityBy(rule, stored));
    if (rule == Rules::PoolRule::LeftToGroup)
        logDecision("poolNode, SET HIDE ", pool);
}

static void dealGroup(QList<VmPoolNode *> &pools)
{
    sortPools(pools);
    Rules::GroupFacts facts;
    for (VmPoolNode *pool : std::as_const(pools)) {
        if (!pool) {
            // Compatibility: searched for in logs, although no group holds a null entry.
            Log::info() << "[unlikely] dealVmGroupPool, a poolNode is nullptr!";
            continue;
        }
        const StoredPool stored(pool);
        stored.set(Rules::Visibility::Hidden);
        logDecision("poolNode, SET HIDE ", pool);
        facts.add(stored);
    }

    VmPoolNode *lead = pools.constFirst();
    const Rules::GroupRule rule = facts.rule();
    if (!lead || rule == Rules::GroupRule::Nothing)
        return;
    StoredPool(lead).set(Rules::Visibility::Shown);
    logDecision(rule == Rules::GroupRule::LeadForSeveral ? "GROUP allowMultiDynamicDesktop, DO SHOW "
                                                         : "GROUP do not have Item, DO SHOW ",
                lead);
}

void VmDatabase::dealVmPools()
{
    if (!d)
        return;
    const QList<VmPoolNode *> pools = d->getPoolNodeList();
    for (VmPoolNode *pool : pools)
        dealPool(pool);
    dealVmGroupPool();
}

void VmDatabase::dealVmGroupPool()
{
    if (!d)
        return;
    const auto groups = d->getGroupedVmPool();
    for (QList<VmPoolNode *> *group : groups)
        dealGroup(*group);
    qDeleteAll(groups);
}
