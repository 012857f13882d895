// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/private/vmdatabase_p.h"
#include "vmdatabase/vmdatabase.h"

#include "log_p.h"
#include "poolhiding_p.h"
#include "poolordering_p.h"
#include "records/recordaccess_p.h"

#include <utility>

// A pool counts itself, so more than one means that it holds an item.
static bool holdsItem(VmPoolNode *pool)
{
    return pool->getItemCount() > 1;
}

static bool allowsMultiDynamic(VmPoolNode *pool)
{
    return VmRecordAccess::toSigned(pool, VdiVM::AllowMultiDynamicKey) != 0;
}

static void showUnlessItem(VmPoolNode *pool)
{
    if (holdsItem(pool))
        hide(pool);
    else
        show(pool);
}

static void logDecision(const char *decision, VmPoolNode *pool)
{
    Log::info() << decision << pool->getValue(VdiVM::NameKey) << ", keyPerrior:" << pool->getValue(VdiVM::PriorityKey);
}

static void dealPool(VmPoolNode *pool)
{
    if (pool->haveActiveItem())
        pool->setValue(VdiVM::FailedToConnectKey, QStringLiteral("0"));

    const uint type = VmRecordAccess::toUnsigned(pool, VdiVM::PoolTypeKey);
    // NOLINTNEXTLINE(bugprone-branch-clone): one branch for each rule, in the order in which they decide
    if (type == 1 || type == 7 || type == 3) {
        showUnlessItem(pool);
    } else if (!VmRecordAccess::isEqual(pool, VdiVM::GroupKey, QString())) {
        hide(pool); // its group decides later
        logDecision("poolNode, SET HIDE ", pool);
    } else if (!allowsMultiDynamic(pool)) {
        showUnlessItem(pool);
    } else {
        logDecision("pool allowMultiDynamicDesktop, DO SHOW ", pool);
        show(pool);
    }
}

static void dealGroup(QList<VmPoolNode *> &pools)
{
    sortPools(pools);
    bool hasItems = false;
    bool multiDynamic = false;
    for (VmPoolNode *pool : std::as_const(pools)) {
        if (!pool) {
            // Compatibility: searched for in logs, although no group holds a null entry.
            Log::info() << "[unlikely] dealVmGroupPool, a poolNode is nullptr!";
            continue;
        }
        hide(pool);
        logDecision("poolNode, SET HIDE ", pool);
        hasItems = hasItems || holdsItem(pool);
        multiDynamic =
            multiDynamic || (allowsMultiDynamic(pool) && VmRecordAccess::toUnsigned(pool, VdiVM::PreferredKey) != 0);
    }

    VmPoolNode *lead = pools.constFirst();
    if (!lead)
        return;
    if (multiDynamic) {
        show(lead);
        logDecision("GROUP allowMultiDynamicDesktop, DO SHOW ", lead);
    } else if (!hasItems) {
        show(lead);
        logDecision("GROUP do not have Item, DO SHOW ", lead);
    }
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
