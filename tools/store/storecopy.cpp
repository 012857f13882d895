// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "storecopy.h"

#include "operations/operations.h"

#include "inspection_p.h"

namespace {

using Values = StoreCopy::Values;

// Looks at what one call may have changed.
class Follower
{
public:
    Follower(StoreCopy &copy, VmDatabase &database, const Call &call)
        : m_copy(copy)
        , m_database(database)
        , m_store(database)
        , m_call(call)
    {}

    void follow();
    void close();

    QVector<Change> changes;

private:
    bool findPool();
    void readNode();
    void readPolicy();
    void readDecision();
    void removeNode();
    void removeServer();
    void removeItems();
    void listRemoteApp();
    void readRemoteApp();
    void readControlPolicy();
    void readSaasApp();
    void removeApps(Change::Table table);

    bool findItem();
    void readValue(const Values &known, const QString *now, Change where);
    void readAppValue(Change::Table table, int key, const QString &value);
    void add(const Change &change);

    static Change pool(Change::Kind kind, const QString &pool, const std::optional<QString> &item = {})
    {
        return {Change::Pools, kind, pool, item, 0, 0, {}, {}};
    }

    StoreCopy &m_copy;
    VmDatabase &m_database;
    const VmStoreInspection m_store;
    const Call &m_call;
};

void Follower::add(const Change &change)
{
    m_copy.apply(change);
    changes << change;
}

// What is stored under the key of \a where, in the place of what was known.
void Follower::readValue(const Values &known, const QString *now, Change where)
{
    if (!now)
        return;
    const auto before = known.constFind(where.key);
    if (before != known.cend() && before->isNull() == now->isNull() && *before == *now)
        return;
    if (before != known.cend())
        where.before = *before;
    where.after = *now;
    add(where);
}

// Whether the pool that the call names exists, known before or not.
bool Follower::findPool()
{
    if (m_copy.pools.contains(m_call.id()))
        return true;
    if (!m_store.contains(m_call.id()))
        return false;
    add(pool(Change::Added, m_call.id()));
    return true;
}

bool Follower::findItem()
{
    const auto &items = m_copy.pools.constFind(m_call.id())->items;
    if (items.contains(m_call.item()))
        return true;
    if (!m_store.contains(m_call.id(), m_call.item()))
        return false;
    add(pool(Change::Added, m_call.id(), m_call.item()));
    Change active = pool(Change::Value, m_call.id(), m_call.item());
    active.key = VdiVM::ItemActiveKey; // each has it from the beginning
    readValue({}, m_store.find(active.id, *active.item, active.key), active);
    return true;
}

void Follower::readNode()
{
    Change where = pool(Change::Value, m_call.id());
    where.key = m_call.key();
    if (!m_call.isOfItem()) {
        readValue(m_copy.pools.constFind(where.id)->values, m_store.find(where.id, where.key), where);
    } else if (findItem()) {
        where.item = m_call.item();
        readValue(m_copy.pools.constFind(where.id)->items.constFind(*where.item)->values,
                  m_store.find(where.id, *where.item, where.key), where);
    }
}

void Follower::readPolicy()
{
    if (!findItem())
        return;
    Change where = pool(Change::PolicyValue, m_call.id(), m_call.item());
    where.policy = m_call.type();
    where.key = m_call.key();
    readValue(m_copy.pools.constFind(where.id)->items.constFind(*where.item)->policies.value(where.policy),
              m_store.findPolicy(where.id, *where.item, where.policy, where.key), where);
}

void Follower::readDecision()
{
    const QList<QString> pools = m_copy.pools.keys();
    for (const QString &uuid : pools) {
        const auto known = m_copy.pools.constFind(uuid);
        if (m_call.subject() == Operation::AboutGroup && known->values.value(VdiVM::GroupKey) != m_call.id())
            continue;
        for (const int key : {VdiVM::FailedToConnectKey, VdiVM::HiddenKey}) {
            Change where = pool(Change::Value, uuid);
            where.key = key;
            readValue(m_copy.pools.constFind(uuid)->values, m_store.find(uuid, key), where);
        }
    }
}

// The first pool that is gone, or that has lost the item.
void Follower::removeNode()
{
    const QString uuid = m_call.id();
    for (auto it = m_copy.pools.cbegin(); it != m_copy.pools.cend(); ++it) {
        if (it->values.value(VdiVM::UuidKey) == uuid && !m_store.contains(it.key())) {
            add(pool(Change::Removed, QString(it.key())));
            return;
        }
        if (it->items.contains(uuid) && !m_store.contains(it.key(), uuid)) {
            add(pool(Change::Removed, QString(it.key()), uuid));
            return;
        }
    }
}

void Follower::removeServer()
{
    const QList<QString> pools = m_copy.pools.keys();
    for (const QString &uuid : pools) {
        if (m_copy.pools.constFind(uuid)->values.value(VdiVM::ServerIpKey) == m_call.id() && !m_store.contains(uuid))
            add(pool(Change::Removed, uuid));
    }
}

void Follower::removeItems()
{
    const QList<QString> items = m_copy.pools.value(m_call.id()).items.keys();
    for (const QString &item : items) {
        if (!m_store.contains(m_call.id(), item))
            add(pool(Change::Removed, m_call.id(), item));
    }
}

void Follower::listRemoteApp()
{
    if (!m_copy.remoteApps.contains(m_call.id()))
        add({Change::RemoteApps, Change::Added, m_call.id(), {}, 0, 0, {}, {}});
}

// Applications keep no empty text.
void Follower::readAppValue(Change::Table table, int key, const QString &value)
{
    const auto &apps = table == Change::RemoteApps ? m_copy.remoteApps : m_copy.saasApps;
    if (!value.isEmpty())
        readValue(apps.constFind(m_call.id())->values, &value, {table, Change::Value, m_call.id(), {}, 0, key, {}, {}});
}

void Follower::readRemoteApp()
{
    listRemoteApp();
    const QString id = m_call.id();
    if (!m_copy.remoteApps.constFind(id)->hasRecord)
        readAppValue(Change::RemoteApps, VdiVM::AppIdKey, m_database.getRemoteAppValue(id, VdiVM::AppIdKey));
    readAppValue(Change::RemoteApps, m_call.key(), m_database.getRemoteAppValue(id, m_call.key()));
    if (!m_copy.remoteApps.constFind(id)->hasRecord && m_store.remoteAppValues(id))
        add({Change::RemoteApps, Change::Recorded, id, {}, 0, 0, {}, {}});
}

void Follower::readControlPolicy()
{
    const QJsonObject before = m_copy.remoteApps.constFind(m_call.id())->controlPolicy;
    const QJsonObject after = m_database.getRemoteAppControlPolicy(m_call.id());
    if (before != after)
        add({Change::RemoteApps, Change::ControlPolicy, m_call.id(), {}, 0, 0, {}, {}, before, after});
}

void Follower::readSaasApp()
{
    if (!m_copy.saasApps.contains(m_call.id()))
        add({Change::SaasApps, Change::Added, m_call.id(), {}, 0, 0, {}, {}});
    readAppValue(Change::SaasApps, m_call.key(), m_database.getSaasAppValue(m_call.id(), m_call.key()));
}

void Follower::removeApps(Change::Table table)
{
    const QList<QString> ids = table == Change::RemoteApps ? m_copy.remoteApps.keys() : m_copy.saasApps.keys();
    for (const QString &id : ids)
        add({table, Change::Removed, id, {}, 0, 0, {}, {}});
}

void Follower::close()
{
    const QList<QString> pools = m_copy.pools.keys();
    for (const QString &uuid : pools)
        add(pool(Change::Removed, uuid));
    removeApps(Change::RemoteApps);
    removeApps(Change::SaasApps);
    m_copy.isClosed = true;
}

void Follower::follow()
{
    const bool writes = m_call.has(Operation::Writes);
    const bool removes = m_call.has(Operation::Removes);
    switch (m_call.subject()) {
    case Operation::AboutPool:
    case Operation::AboutNode:
        if (findPool() && writes)
            readNode();
        break;
    case Operation::AboutPolicy:
        if (findPool() && writes)
            readPolicy();
        break;
    case Operation::AboutFamily:
        removeItems();
        removeNode();
        break;
    case Operation::AboutItems:
        if (removes)
            removeItems();
        break;
    case Operation::AboutStoredUuid:
        if (removes)
            removeNode();
        break;
    case Operation::AboutServer:
        if (removes)
            removeServer();
        break;
    case Operation::AboutGroup:
    case Operation::AboutGroups:
    case Operation::AboutPools:
        if (m_call.has(Operation::Decides))
            readDecision();
        break;
    case Operation::AboutRemoteApp:
        if (writes)
            readRemoteApp();
        else if (m_copy.remoteApps.contains(m_call.id()))
            add({Change::RemoteApps, Change::Removed, m_call.id(), {}, 0, 0, {}, {}});
        break;
    case Operation::AboutControlPolicy:
        listRemoteApp();
        if (writes)
            readControlPolicy();
        break;
    case Operation::AboutRemoteApps:
        if (removes)
            removeApps(Change::RemoteApps);
        break;
    case Operation::AboutSaasApp:
        readSaasApp();
        break;
    case Operation::AboutSaasApps:
        removeApps(Change::SaasApps);
        break;
    case Operation::AboutDatabase:
    case Operation::AboutNothing:
        break;
    }
}

} // namespace

QVector<Change> StoreCopy::follow(const QJsonArray &call, VmDatabase &database)
{
    if (isClosed)
        return {};
    const Call made(call);
    Follower follower(*this, database, made);
    if (made.has(Operation::Closes))
        follower.close();
    else
        follower.follow();
    return follower.changes;
}

void StoreCopy::apply(const Change &change)
{
    if (change.table != Change::Pools) {
        auto &apps = change.table == Change::RemoteApps ? remoteApps : saasApps;
        if (change.kind == Change::Removed) {
            apps.remove(change.id);
            return;
        }
        App &app = apps[change.id];
        app.hasRecord = app.hasRecord || change.kind != Change::Added || change.table == Change::SaasApps;
        if (change.kind == Change::Value)
            app.values.insert(change.key, change.after);
        else if (change.kind == Change::ControlPolicy)
            app.controlPolicy = change.controlAfter;
        return;
    }
    if (change.kind == Change::Removed && !change.item) {
        pools.remove(change.id);
        return;
    }
    Pool &pool = pools[change.id]; // clazy:exclude=detaching-member (writes)
    if (change.kind == Change::Removed) {
        pool.items.remove(*change.item);
        return;
    }
    if (!change.item) {
        pool.values.insert(change.kind == Change::Added ? int(VdiVM::UuidKey) : change.key,
                           change.kind == Change::Added ? change.id : change.after);
        return;
    }
    Item &item = pool.items[*change.item]; // clazy:exclude=detaching-member (writes)
    if (change.kind == Change::Added)
        item.values.insert(VdiVM::UuidKey, *change.item);
    else if (change.kind == Change::PolicyValue)
        item.policies[change.policy].insert(change.key, change.after);
    else
        item.values.insert(change.key, change.after);
}
