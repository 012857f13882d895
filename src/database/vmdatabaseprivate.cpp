// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/private/vmdatabase_p.h"

#include "log_p.h"
#include "records/vmindex_p.h"
#include "vmdatabase/remoteapp.h"
#include "vmdatabase/vmitemnode.h"
#include "vmdatabase/vmpoolnode.h"

#include <utility>

VmDatabasePrivate::VmDatabasePrivate() = default;

VmDatabasePrivate::~VmDatabasePrivate()
{
    clearVmPoolList();
}

void VmDatabasePrivate::clearVmPoolList()
{
    QWriteLocker locker(&poolLock);
    for (VmPoolNode *pool : std::as_const(pools)) {
        if (pool)
            pool->deleteLater();
    }
    VmIndex::clear(pools, poolsByUuid);
}

QList<VmPoolNode *> VmDatabasePrivate::getPoolNodeList()
{
    return pools.values();
}

void VmDatabasePrivate::printDatabase()
{
    const QList<VmPoolNode *> list = getPoolNodeList();
    for (VmPoolNode *pool : list) {
        pool->printContent();
        const QList<VmNode *> items = pool->getVmItemList();
        for (VmNode *node : items) {
            if (auto *item = qobject_cast<VmItemNode *>(node))
                item->printContent();
        }
    }
}

VmPoolNode *VmDatabasePrivate::getVmPool(const QString &parentUuid)
{
    if (parentUuid.isEmpty()) {
        Log::critical("getVmPool") << "parent uuid is empty!!";
        return nullptr;
    }
    {
        QReadLocker locker(&poolLock);
        const auto it = poolsByUuid.constFind(parentUuid);
        if (it != poolsByUuid.cend())
            return it.value();
    }
    {
        // Not looked up again: a pool that another thread put in since is replaced, and lost. That is meant.
        QWriteLocker locker(&poolLock);
        auto *pool = new VmPoolNode;
        pool->nodeType = VdiVM::PoolNode;
        pool->setValue(VdiVM::UuidKey, parentUuid);
        VmIndex::put(pools, poolsByUuid, parentUuid, pool);
    }
    // The table decides, not the pointer just made: another thread may have replaced that one, or removed it.
    QReadLocker locker(&poolLock);
    return poolsByUuid.value(parentUuid);
}
