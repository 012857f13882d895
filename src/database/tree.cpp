// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/private/vmdatabase_p.h"

#include "log_p.h"
#include "records/recordaccess_p.h"
#include "text_p.h"
#include "vmdatabase/vmpoolnode.h"

#include <utility>

int VmDatabasePrivate::getItemCount()
{
    QReadLocker locker(&poolLock);
    int count = 0;
    for (VmPoolNode *pool : std::as_const(pools)) {
        if (pool)
            count += pool->getItemCount();
    }
    return count;
}

int VmDatabasePrivate::getItemCountByServerIp(const QString &serverIp)
{
    QReadLocker locker(&poolLock);
    int count = 0;
    for (VmPoolNode *pool : std::as_const(pools)) {
        if (pool && VmRecordAccess::isEqual(pool, VdiVM::ServerIpKey, serverIp))
            count += pool->getItemCount();
    }
    return count;
}

QList<VmNode *> VmDatabasePrivate::getItemList()
{
    QReadLocker locker(&poolLock);
    QList<VmNode *> nodes;
    for (VmPoolNode *pool : std::as_const(pools)) {
        if (pool)
            nodes += pool->getItemList();
    }
    return nodes;
}

// The node at a position of getItemList(), found without building the list: pools are skipped by their counts.
VmNode *VmDatabasePrivate::nodeAt(int index)
{
    QReadLocker locker(&poolLock);
    if (index < 0)
        return nullptr;
    for (VmPoolNode *pool : std::as_const(pools)) {
        if (!pool)
            continue;
        const int count = VmRecordAccess::itemCount(pool);
        if (index < count)
            return VmRecordAccess::nodeAt(pool, index);
        index -= count;
    }
    return nullptr;
}

QString VmDatabasePrivate::getItemUuid(int index)
{
    VmNode *node = nodeAt(index);
    return node ? node->getValue(VdiVM::UuidKey) : emptyText();
}

int VmDatabasePrivate::getItemType(int index)
{
    VmNode *node = nodeAt(index);
    return node ? node->nodeType : int(VdiVM::UnknownNode);
}

int VmDatabasePrivate::getItemTypeByUuid(const QString &uuid)
{
    QReadLocker locker(&poolLock);
    const VmHashedUuid hashed(uuid);
    if (poolIndex.contains(hashed))
        return VdiVM::PoolNode;
    for (VmPoolNode *pool : std::as_const(pools)) {
        if (VmRecordAccess::containsItem(pool, hashed)) {
            VmNode *item = pool->getVmItem(uuid);
            return item ? item->nodeType : int(VdiVM::UnknownNode);
        }
    }
    return VdiVM::UnknownNode;
}

QString VmDatabasePrivate::getParentUuid(const QString &uuid)
{
    if (uuid.isEmpty()) {
        Log::critical("getParentUuid") << "uuid is empty, do nothing ! 3";
        return emptyText();
    }
    const VmHashedUuid hashed(uuid);
    QReadLocker locker(&poolLock);
    for (VmPoolNode *pool : std::as_const(pools)) {
        if (pool && VmRecordAccess::containsItem(pool, hashed))
            return pool->getValue(VdiVM::UuidKey);
    }
    return poolIndex.contains(hashed) ? uuid : emptyText();
}

QString VmDatabasePrivate::getUuidByParentUuid(const QString &parentUuid)
{
    if (parentUuid.isEmpty()) {
        Log::critical("getUuidByParentUuid") << "parentUuid is empty, do nothing ! 3";
        return emptyText();
    }
    QReadLocker locker(&poolLock);
    QString uuid = emptyText();
    for (VmPoolNode *pool : std::as_const(pools)) {
        if (!pool || !VmRecordAccess::isEqual(pool, VdiVM::UuidKey, parentUuid))
            continue;
        if (VmNode *item = pool->getDynamicVmItem())
            uuid = item->getValue(VdiVM::UuidKey);
        break;
    }
    // Compatibility: written with the lock held, whether or not a uuid is found.
    Log::info("getUuidByParentUuid") << "999 uuid = " << uuid << ", parent uuid = " << parentUuid;
    return uuid;
}

QString VmDatabasePrivate::getResourceNameByParentUuid(const QString &parentUuid)
{
    VmPoolNode *pool = getVmPool(parentUuid);
    return pool ? pool->getValue(VdiVM::ResourceNameKey) : emptyText();
}

QList<QString> VmDatabasePrivate::getChildrenByParentUuid(const QString &parentUuid)
{
    QList<QString> uuids;
    VmPoolNode *const *pool = poolIndex.find(parentUuid);
    if (!pool) {
        // Compatibility: the text says "item", although the uuid is the pool's.
        Log::critical("getChildrenByParentUuid")
            << QStringLiteral("1 cannot find vm item node, uuid = %1").arg(parentUuid);
        return uuids;
    }
    const QList<VmNode *> items = (*pool)->getVmItemList();
    uuids.reserve(items.size());
    for (VmNode *item : items)
        uuids << (item ? item->getValue(VdiVM::UuidKey) : emptyText());
    return uuids;
}

QList<QString> VmDatabasePrivate::getVmPoolNameList()
{
    return pools.keys();
}

void VmDatabasePrivate::removeNode(const QString &uuid)
{
    const VmHashedUuid hashed(uuid);
    QWriteLocker locker(&poolLock);
    for (auto it = pools.begin(); it != pools.end(); ++it) { // clazy:exclude=detaching-member (writes)
        VmPoolNode *pool = it.value();
        if (VmRecordAccess::isEqual(pool, VdiVM::UuidKey, uuid)) {
            pool->deleteLater();
            // The matched entry, which stands under another text once a client has overwritten the stored uuid.
            poolIndex.remove(pools, it);
            return;
        }
        if (VmRecordAccess::containsItem(pool, hashed)) {
            pool->removeVmItem(uuid);
            return;
        }
    }
}

void VmDatabasePrivate::removeNodesByServerIp(const QString &serverIp)
{
    QWriteLocker locker(&poolLock);
    for (auto it = pools.begin(); it != pools.end();) { // clazy:exclude=detaching-member (writes)
        if (VmRecordAccess::isEqual(it.value(), VdiVM::ServerIpKey, serverIp)) {
            it.value()->deleteLater();
            it = poolIndex.remove(pools, it);
        } else {
            ++it;
        }
    }
}

void VmDatabasePrivate::removeChildrenByParentUuid(const QString &parentUuid)
{
    VmPoolNode *const *pool = poolIndex.find(parentUuid);
    if (!pool) {
        // Compatibility: as in getChildrenByParentUuid().
        Log::critical("removeChildrenByParentUuid")
            << QStringLiteral("1 cannot find vm item node, uuid = %1").arg(parentUuid);
        return;
    }
    (*pool)->clearVmItem();
}
