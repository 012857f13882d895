// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/private/vmdatabase_p.h"

#include "log_p.h"
#include "text_p.h"
#include "vmdatabase/vmitemnode.h"
#include "vmdatabase/vmpolicy.h"
#include "vmdatabase/vmpoolnode.h"

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

void VmDatabasePrivate::setPolicyValue(const QString &parentUuid, const QString &uuid, const VdiVM::PolicyType &type,
                                       int key, const QString &value)
{
    VmPoolNode *pool = getVmPool(parentUuid);
    auto *item = pool ? qobject_cast<VmItemNode *>(pool->getVmItem(uuid)) : nullptr;
    if (!item && pool && pool->isExistVmItem(uuid)) {
        Log::critical("setPolicyValue") << "node type is error.";
        Log::errorLocation("setPolicyValue", setPolicyValueSignature);
        return;
    }

    const bool isNew = !item;
    if (isNew) {
        item = new VmItemNode(pool);
        item->setValue(VdiVM::UuidKey, uuid);
    }
    if (VmPolicy *policy = item->getVmPolicy(type)) {
        policy->setValue(key, value);
    } else {
        Log::critical("setPolicyValue") << noPolicyText(type);
        Log::errorLocation("setPolicyValue", setPolicyValueSignature);
    }
    if (!isNew)
        return;

    if (!pool) {
        // The item is abandoned as it is, neither filed nor deleted: callers live with this leak, and it is meant.
        Log::critical("setPolicyValue") << "pVmPool is null.";
        return;
    }
    pool->appendVmItem(item, uuid);
}
