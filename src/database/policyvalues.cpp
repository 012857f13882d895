// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/private/vmdatabase_p.h"

#include "log_p.h"
#include "records/recordaccess_p.h"
#include "text_p.h"
#include "vmdatabase/vmitemnode.h"
#include "vmdatabase/vmpolicy.h"

static constexpr char getPolicyValueSignature[] =
    "QString VmDatabasePrivate::getPolicyValue(const QString&, const QString&, const VdiVM::PolicyType&, int)";
static constexpr char setPolicyValueSignature[] = "void VmDatabasePrivate::setPolicyValue(const QString&, "
                                                  "const QString&, const VdiVM::PolicyType&, int, const QString&)";

static QString noPolicyText(int type)
{
    return QStringLiteral("there is no policy type: %1.").arg(type);
}

QString VmDatabasePrivate::getPolicyValue(const QString &parentUuid, const QString &uuid, const VdiVM::PolicyType &type,
                                          int key)
{
    if (parentUuid.isEmpty() || uuid.isEmpty())
        return emptyText();
    VmPoolNode *pool = getVmPool(parentUuid);
    if (!pool) {
        Log::critical("getPolicyValue")
            << QStringLiteral("8 cannot find parent vm pool node, parent uuid = %1").arg(parentUuid);
        Log::errorLocation("getPolicyValue", getPolicyValueSignature);
        return emptyText();
    }
    auto *item = qobject_cast<VmItemNode *>(pool->getVmItem(uuid));
    if (!item) {
        Log::critical("getPolicyValue") << QStringLiteral("7 cannot find vm item node, uuid = %1").arg(uuid);
        Log::errorLocation("getPolicyValue", getPolicyValueSignature);
        return emptyText();
    }
    VmPolicy *policy = item->getVmPolicy(type);
    if (!policy) {
        Log::critical("getPolicyValue") << noPolicyText(type);
        Log::errorLocation("getPolicyValue", getPolicyValueSignature);
        return emptyText();
    }
    return policy->getValue(key);
}

static void setPolicy(VmItemNode *item, int type, int key, const QString &value)
{
    VmPolicy *policy = item->getVmPolicy(type);
    if (!policy) {
        Log::critical("setPolicyValue") << noPolicyText(type);
        Log::errorLocation("setPolicyValue", setPolicyValueSignature);
        return;
    }
    policy->setValue(key, value);
}

void VmDatabasePrivate::setPolicyValue(const QString &parentUuid, const QString &uuid, const VdiVM::PolicyType &type,
                                       int key, const QString &value)
{
    VmPoolNode *pool = getVmPool(parentUuid);
    const VmHashedUuid hashed(uuid);
    VmNode *const *existing = pool ? VmRecordAccess::findItem(pool, hashed) : nullptr;
    if (!existing) {
        auto *item = new VmItemNode(pool);
        item->setValue(VdiVM::UuidKey, uuid);
        setPolicy(item, type, key, value);
        if (pool)
            VmRecordAccess::appendItem(pool, uuid, hashed, item);
        else // Compatibility: the item is neither added nor deleted, but leaked.
            Log::critical("setPolicyValue") << "pVmPool is null.";
        return;
    }
    auto *item = qobject_cast<VmItemNode *>(*existing);
    if (!item) {
        Log::critical("setPolicyValue") << "node type is error.";
        Log::errorLocation("setPolicyValue", setPolicyValueSignature);
        return;
    }
    setPolicy(item, type, key, value);
}
