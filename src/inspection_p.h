// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "vmdatabase/private/vmdatabase_p.h"
#include "vmdatabase/remoteapp.h"
#include "vmdatabase/vmdatabase.h"
#include "vmdatabase/vmitemnode.h"
#include "vmdatabase/vmpolicy.h"
#include "vmdatabase/vmpoolnode.h"

/// What no public operation tells of an open database: whether a value is null or there is none, which items there are, one
/// without a uuid included, and which applications have a record. For tools and tests: it only looks, adds nothing, logs
/// nothing and takes no lock. No other thread may use the database meanwhile. A pointer that it returns is null if there is
/// no such record, and holds until the next call.
class VmStoreInspection
{
public:
    using Values = QMap<int, QString>;

    explicit VmStoreInspection(const VmDatabase &database)
        : m_store(database.d)
    {}

    bool contains(const QString &pool) const { return m_store->pools.value(pool); }
    bool contains(const QString &pool, const QString &item) const { return findItem(pool, item); }

    const QString *find(const QString &pool, int key) const { return find(m_store->pools.value(pool), key); }
    const QString *find(const QString &pool, const QString &item, int key) const
    {
        return find(findItem(pool, item), key);
    }
    const QString *findPolicy(const QString &pool, const QString &item, int type, int key) const
    {
        const Values *values = policyValues(pool, item, type);
        const auto it = values ? values->constFind(key) : Values::const_iterator();
        return values && it != values->cend() ? &*it : nullptr;
    }

    Values values(const QString &pool) const { return copy(m_store->pools.value(pool)); }
    Values values(const QString &pool, const QString &item) const { return copy(findItem(pool, item)); }
    const Values *policyValues(const QString &pool, const QString &item, int type) const
    {
        VmItemNode *node = findItem(pool, item);
        const VmPolicy *policy = node ? node->getVmPolicy(type) : nullptr;
        return policy ? &policy->values : nullptr;
    }

    QList<QString> items(const QString &pool) const
    {
        const VmPoolNode *node = m_store->pools.value(pool);
        return node ? node->items.keys() : QList<QString>();
    }

    /// Of a remote application; null for one that is only listed.
    const Values *remoteAppValues(const QString &appId) const
    {
        const RemoteApp *app = m_store->remoteApps.value(appId);
        return app ? &app->values : nullptr;
    }

    const Values *saasAppValues(const QString &appId) const
    {
        const QSharedPointer<RemoteApp> app = m_store->saasApps.value(appId);
        return app ? &app->values : nullptr;
    }

private:
    static const QString *find(const VmNode *node, int key) { return node ? node->values.find(key) : nullptr; }
    static Values copy(const VmNode *node)
    {
        Values values;
        for (auto it = node->values.cbegin(); it != node->values.cend(); ++it)
            values.insert(it.key(), it.value());
        return values;
    }
    VmItemNode *findItem(const QString &pool, const QString &item) const
    {
        const VmPoolNode *node = m_store->pools.value(pool);
        return node ? qobject_cast<VmItemNode *>(node->items.value(item)) : nullptr;
    }

    const VmDatabasePrivate *m_store;
};
