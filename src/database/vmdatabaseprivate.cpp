// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/private/vmdatabase_p.h"

#include "log_p.h"
#include "vmdatabase/remoteapp.h"
#include "vmdatabase/vmitemnode.h"
#include "vmdatabase/vmpoolnode.h"

VmDatabasePrivate::VmDatabasePrivate() = default;

VmDatabasePrivate::~VmDatabasePrivate()
{
    clearVmPoolList();
    saasApps.clear(); // while the other members exist: what is connected to destroyed() may ask the database
    // Compatibility: remote applications that are still listed are leaked.
}

void VmDatabasePrivate::clearVmPoolList()
{
    QWriteLocker locker(&poolLock);
    const auto removed = poolIndex.takeAll(pools);
    for (VmPoolNode *pool : removed) {
        if (pool)
            pool->deleteLater();
    }
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
    const VmHashedUuid hashed(parentUuid);
    {
        QReadLocker locker(&poolLock);
        if (VmPoolNode *const *pool = poolIndex.find(hashed))
            return *pool;
    }
    {
        // Compatibility: not looked up again. A pool that another thread has added since is replaced and leaked.
        QWriteLocker locker(&poolLock);
        auto *pool = new VmPoolNode;
        pool->nodeType = VdiVM::PoolNode;
        pool->setValue(VdiVM::UuidKey, parentUuid);
        poolIndex.insert(pools, parentUuid, hashed, pool);
    }
    // Another thread may have replaced or removed the new pool: what the table holds now is returned.
    QReadLocker locker(&poolLock);
    return poolIndex.value(hashed);
}
