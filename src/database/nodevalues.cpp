// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/private/vmdatabase_p.h"

#include "log_p.h"
#include "records/recordaccess_p.h"
#include "text_p.h"
#include "vmdatabase/vmitemnode.h"

static constexpr char getNodeValueSignature[] =
    "QString VmDatabasePrivate::getNodeValue(const QString&, const QString&, const VdiVM::VmType&, int)";
static constexpr char setNodeValueSignature[] =
    "void VmDatabasePrivate::setNodeValue(const QString&, const QString&, const VdiVM::VmType&, int, const QString&)";
static constexpr char resetNodeValueSignature[] =
    "void VmDatabasePrivate::resetNodeValue(const QString&, const QString&, const VdiVM::VmType&, int)";

QString VmDatabasePrivate::getNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type,
                                        int key)
{
    if (type != VdiVM::ItemNode) {
        if (parentUuid.isEmpty())
            return emptyText();
        VmPoolNode *pool = getVmPool(parentUuid);
        if (!pool) {
            Log::critical("getNodeValue") << QStringLiteral("3 cannot find vm pool node, uuid = %1").arg(parentUuid);
            return emptyText();
        }
        return pool->getValue(key);
    }

    if (parentUuid.isEmpty()) {
        Log::critical("getNodeValue")
            << "parent uuid is empty, but the node is vm item node, so parent uuid must be not empty.";
        Log::errorLocation("getNodeValue", getNodeValueSignature);
        return emptyText();
    }
    VmPoolNode *pool = getVmPool(parentUuid);
    if (!pool) {
        Log::critical("getNodeValue")
            << QStringLiteral("2 cannot find parent vm pool node, parent uuid = %1").arg(parentUuid);
        Log::errorLocation("getNodeValue", getNodeValueSignature);
        return emptyText();
    }
    auto *item = qobject_cast<VmItemNode *>(pool->getVmItem(uuid));
    return item ? item->getValue(key) : emptyText();
}

QString VmDatabasePrivate::getPoolNodeValue(const QString &uuid, int key)
{
    if (uuid.isEmpty())
        return emptyText();
    VmPoolNode *pool = getVmPool(uuid);
    if (!pool) {
        Log::critical() << "getPoolNodeValue" << QStringLiteral("cannot find vm pool node, uuid = %1").arg(uuid);
        return emptyText();
    }
    return pool->getValue(key);
}

void VmDatabasePrivate::setNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key,
                                     const QString &value)
{
    VmPoolNode *pool = getVmPool(parentUuid);
    if (!pool) {
        Log::critical() << "setNodeValue"
                        << QStringLiteral("cannot find vm pool node, parent uuid = %1").arg(parentUuid);
        return;
    }
    if (type != VdiVM::ItemNode) {
        pool->setValue(key, value);
        return;
    }
    const VmHashedUuid hashed(uuid);
    VmNode *const *existing = VmRecordAccess::findItem(pool, hashed);
    if (!existing) {
        auto *item = new VmItemNode(pool);
        item->setValue(VdiVM::UuidKey, uuid);
        if (key != VdiVM::UuidKey)
            item->setValue(key, value);
        VmRecordAccess::appendItem(pool, uuid, hashed, item);
        return;
    }
    auto *item = qobject_cast<VmItemNode *>(*existing);
    if (!item) {
        Log::critical("setNodeValue") << "node type is error.";
        Log::errorLocation("setNodeValue", setNodeValueSignature);
        return;
    }
    item->setValue(key, value);
}

void VmDatabasePrivate::setPoolNodeValue(const QString &uuid, int key, const QString &value)
{
    VmPoolNode *pool = getVmPool(uuid);
    if (!pool) {
        // Compatibility: the text says "parent uuid", although the uuid is the pool's own.
        Log::critical() << "setPoolNodeValue" << QStringLiteral("cannot find vm pool node, parent uuid = %1").arg(uuid);
        return;
    }
    pool->setValue(key, value);
}

void VmDatabasePrivate::resetNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type,
                                       int key)
{
    VmPoolNode *pool = getVmPool(parentUuid);
    if (type != VdiVM::ItemNode) {
        if (!pool) {
            // Compatibility: the text names the uuid that is ignored otherwise, not the one that was looked up.
            Log::critical("resetNodeValue") << QStringLiteral("6 cannot find vm pool node, uuid = %1").arg(uuid);
            Log::errorLocation("resetNodeValue", resetNodeValueSignature);
            return;
        }
        pool->resetValue(key);
        return;
    }
    if (!pool) {
        Log::critical("resetNodeValue")
            << QStringLiteral("5 cannot find parent vm pool node, parent uuid = %1").arg(parentUuid);
        Log::errorLocation("resetNodeValue", resetNodeValueSignature);
        return;
    }
    auto *item = qobject_cast<VmItemNode *>(pool->getVmItem(uuid));
    if (!item) {
        Log::critical("resetNodeValue") << QStringLiteral("4 cannot find vm item node, uuid = %1").arg(uuid);
        Log::errorLocation("resetNodeValue", resetNodeValueSignature);
        return;
    }
    item->resetValue(key);
}
