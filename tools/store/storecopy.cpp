// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "storecopy.h"

#include "feed/json.h"
#include "operations/keynames.h"

#include <vmdatabase/vmdatabase.h>

#include <QtCore/QHash>

#include <limits>

namespace {

// Looks at what one call may have changed.
class Follower
{
public:
    Follower(StoreCopy &copy, VmDatabase &database, const QJsonArray &call)
        : m_copy(copy)
        , m_database(database)
        , m_call(call)
    {}

    void poolCall();    // parentUuid or uuid, key
    void nodeCall();    // parentUuid, uuid, type, key
    void policyCall();  // parentUuid, uuid, type, key
    void poolMention(); // parentUuid
    void turnWheel();   // group
    void dealGroups();
    void dealPools();
    void removeNode();     // uuid
    void removeServer();   // serverIp
    void removeChildren(); // parentUuid
    void removeFamily();   // parentUuid
    void setRemoteApp();   // appId, key
    void listRemoteApp();  // appId
    void setControlPolicy();
    void deleteRemoteApp();
    void clearRemoteApps();
    void setSaasApp(); // appId, key
    void clearSaasApps();
    void clear();

    QVector<Change> changes;

private:
    QString text(int argument) const { return m_call.at(argument).toString(); }
    int number(int argument, NamedNumbers names) const { return numberIn(m_call.at(argument), names); }

    bool findPool(const QString &uuid);
    bool itemExists(const QString &pool, const QString &item, const QString &knownUuid) const;
    bool findItem(const QString &pool, const QString &item);
    void read(const QString &pool, int key);
    void read(const QString &pool, StoreCopy::Values &values, int key);
    void read(const QString &pool, const QString &item, int key);
    void removePool(const QString &uuid);
    void removeItem(const QString &pool, const QString &item);

    static QString known(const StoreCopy::Values &values, int key) { return values.value(key); }
    void add(Change change);
    void addValue(StoreCopy::Values &values, int key, const QString &after, const Change &where);

    StoreCopy &m_copy;
    VmDatabase &m_database;
    const QJsonArray &m_call;
};

void Follower::add(Change change)
{
    changes << std::move(change);
}

// What the library answers under a key, in the place of what was known.
void Follower::addValue(StoreCopy::Values &values, int key, const QString &after, const Change &where)
{
    const auto it = values.constFind(key);
    const QString before = it == values.cend() ? QString() : *it;
    if (before.isNull() == after.isNull() && before == after)
        return;
    values.insert(key, after);
    const bool isPoolOrItem = where.kind == Change::Value && where.table == Change::Pools;
    if (isPoolOrItem && key == VdiVM::UuidKey && before.isNull() && after == where.item.value_or(where.id))
        return; // goes without saying
    changes << where;
    changes.last().key = key;
    changes.last().before = before;
    changes.last().after = after;
}

void Follower::read(const QString &pool, int key)
{
    read(pool, m_copy.pools[pool].values, key);
}

void Follower::read(const QString &pool, StoreCopy::Values &values, int key)
{
    addValue(values, key, m_database.getPoolNodeValue(pool, key),
             {Change::Pools, Change::Value, pool, {}, 0, 0, {}, {}});
}

void Follower::read(const QString &pool, const QString &item, int key)
{
    addValue(m_copy.pools[pool].items[item].values, key, m_database.getNodeValue(pool, item, VdiVM::ItemNode, key),
             {Change::Pools, Change::Value, pool, item, 0, 0, {}, {}});
}

// Whether the pool exists, known before or not.
bool Follower::findPool(const QString &uuid)
{
    if (m_copy.pools.contains(uuid))
        return true;
    if (uuid.isEmpty() || m_database.getItemTypeByUuid(uuid) != VdiVM::PoolNode)
        return false;
    m_copy.pools.insert(uuid, {});
    add({Change::Pools, Change::Added, uuid, {}, 0, 0, {}, {}});
    read(uuid, VdiVM::UuidKey);
    return true;
}

// An unknown item answers an empty text, an item its uuid, or whatever a client wrote over it.
bool Follower::itemExists(const QString &pool, const QString &item, const QString &knownUuid) const
{
    const QString uuid = m_database.getNodeValue(pool, item, VdiVM::ItemNode, VdiVM::UuidKey);
    if (uuid.isNull() || !uuid.isEmpty())
        return true;
    if (knownUuid.isNull() || !knownUuid.isEmpty())
        return false;
    // Only the number of items can say it; that of the known ones has this one in it, or not yet.
    const auto &items = m_copy.pools.constFind(pool)->items;
    const int count = m_database.getChildrenByParentUuid(pool).size();
    return items.contains(item) ? count == items.size() : count > items.size();
}

bool Follower::findItem(const QString &pool, const QString &item)
{
    auto &items = m_copy.pools[pool].items;
    if (items.contains(item))
        return true;
    if (!itemExists(pool, item, item))
        return false;
    items.insert(item, {});
    add({Change::Pools, Change::Added, pool, item, 0, 0, {}, {}});
    read(pool, item, VdiVM::UuidKey);
    read(pool, item, VdiVM::ItemActiveKey);
    return true;
}

void Follower::poolCall()
{
    if (findPool(text(1)))
        read(text(1), number(2, NamedNumbers::NodeKeys));
}

void Follower::nodeCall()
{
    const QString pool = text(1);
    const int key = number(4, NamedNumbers::NodeKeys);
    if (!findPool(pool))
        return;
    if (number(3, NamedNumbers::VmTypes) != VdiVM::ItemNode)
        read(pool, key);
    else if (findItem(pool, text(2)))
        read(pool, text(2), key);
}

void Follower::policyCall()
{
    const QString pool = text(1);
    const QString item = text(2);
    const int type = number(3, NamedNumbers::None);
    const int key = number(4, NamedNumbers::None);
    if (!findPool(pool) || !findItem(pool, item) || item.isEmpty()) // an item without uuid answers no policy
        return;
    auto &policies = m_copy.pools[pool].items[item].policies;
    const QString value = m_database.getPolicyValue(pool, item, VdiVM::PolicyType(type), key);
    if (value.isNull())
        return;
    // A type without a record answers an empty text for every key, one with a record a null one for an unused key.
    const int unused = key == std::numeric_limits<int>::min() ? key + 1 : key - 1;
    if (value.isEmpty() && !policies.value(type).contains(unused) &&
        !m_database.getPolicyValue(pool, item, VdiVM::PolicyType(type), unused).isNull())
        return;
    addValue(policies[type], key, value, {Change::Pools, Change::PolicyValue, pool, item, type, 0, {}, {}});
}

void Follower::poolMention()
{
    findPool(text(1));
}

void Follower::turnWheel()
{
    const QString group = text(1);
    for (auto pool = m_copy.pools.begin(); pool != m_copy.pools.end(); ++pool) {
        if (known(pool->values, VdiVM::GroupKey) == group)
            read(pool.key(), pool->values, VdiVM::HiddenKey);
    }
}

void Follower::dealGroups()
{
    for (auto pool = m_copy.pools.begin(); pool != m_copy.pools.end(); ++pool)
        read(pool.key(), pool->values, VdiVM::HiddenKey);
}

void Follower::dealPools()
{
    for (auto pool = m_copy.pools.begin(); pool != m_copy.pools.end(); ++pool) {
        read(pool.key(), pool->values, VdiVM::FailedToConnectKey);
        read(pool.key(), pool->values, VdiVM::HiddenKey);
    }
}

void Follower::removePool(const QString &uuid)
{
    m_copy.pools.remove(uuid);
    add({Change::Pools, Change::Removed, uuid, {}, 0, 0, {}, {}});
}

void Follower::removeItem(const QString &pool, const QString &item)
{
    m_copy.pools[pool].items.remove(item);
    add({Change::Pools, Change::Removed, pool, item, 0, 0, {}, {}});
}

void Follower::removeNode()
{
    const QString uuid = text(1);
    for (auto pool = m_copy.pools.cbegin(); pool != m_copy.pools.cend(); ++pool) {
        const auto item = pool->items.constFind(uuid);
        const bool isPool = known(pool->values, VdiVM::UuidKey) == uuid;
        if (isPool && m_database.getItemTypeByUuid(pool.key()) != VdiVM::PoolNode) {
            removePool(QString(pool.key()));
            return;
        }
        if (item != pool->items.cend() && !itemExists(pool.key(), uuid, known(item->values, VdiVM::UuidKey))) {
            removeItem(QString(pool.key()), uuid);
            return;
        }
    }
}

void Follower::removeServer()
{
    const QList<QString> pools = m_copy.pools.keys();
    for (const QString &pool : pools) {
        if (known(m_copy.pools[pool].values, VdiVM::ServerIpKey) == text(1) &&
            m_database.getItemTypeByUuid(pool) != VdiVM::PoolNode)
            removePool(pool);
    }
}

void Follower::removeChildren()
{
    const QString pool = text(1);
    const auto it = m_copy.pools.constFind(pool);
    if (it == m_copy.pools.cend() || !m_database.getChildrenByParentUuid(pool).isEmpty())
        return;
    const QList<QString> items = it->items.keys();
    for (const QString &item : items)
        removeItem(pool, item);
}

void Follower::removeFamily()
{
    removeChildren();
    removeNode();
}

void Follower::setRemoteApp()
{
    const QString id = text(1);
    if (!m_copy.remoteApps.contains(id))
        add({Change::RemoteApps, Change::Added, id, {}, 0, 0, {}, {}});
    StoreCopy::App &app = m_copy.remoteApps[id];
    const bool isNew = !std::exchange(app.hasRecord, true);
    const int key = number(2, NamedNumbers::AppKeys);
    for (const int read : {int(VdiVM::AppIdKey), key}) {
        const QString value = m_database.getRemoteAppValue(id, read);
        if ((isNew || read == key) && !value.isEmpty())
            addValue(app.values, read, value, {Change::RemoteApps, Change::Value, id, {}, 0, 0, {}, {}});
    }
}

void Follower::listRemoteApp()
{
    const QString id = text(1);
    if (m_copy.remoteApps.contains(id))
        return;
    m_copy.remoteApps.insert(id, {});
    add({Change::RemoteApps, Change::Added, id, {}, 0, 0, {}, {}});
}

void Follower::setControlPolicy()
{
    listRemoteApp();
    StoreCopy::App &app = m_copy.remoteApps[text(1)];
    const QJsonObject &policy = m_database.getRemoteAppControlPolicy(text(1));
    if (!app.hasRecord || policy == app.controlPolicy)
        return;
    add({Change::RemoteApps,
         Change::ControlPolicy,
         text(1),
         {},
         0,
         0,
         compactJson(app.controlPolicy),
         compactJson(policy)});
    app.controlPolicy = policy;
}

void Follower::deleteRemoteApp()
{
    if (m_copy.remoteApps.remove(text(1)) > 0)
        add({Change::RemoteApps, Change::Removed, text(1), {}, 0, 0, {}, {}});
}

void Follower::clearRemoteApps()
{
    const QList<QString> ids = m_copy.remoteApps.keys();
    for (const QString &id : ids)
        add({Change::RemoteApps, Change::Removed, id, {}, 0, 0, {}, {}});
    m_copy.remoteApps.clear();
}

void Follower::setSaasApp()
{
    const QString id = text(1);
    if (!m_copy.saasApps.contains(id))
        add({Change::SaasApps, Change::Added, id, {}, 0, 0, {}, {}});
    StoreCopy::App &app = m_copy.saasApps[id];
    app.hasRecord = true;
    const int key = number(2, NamedNumbers::AppKeys);
    const QString value = m_database.getSaasAppValue(id, key);
    if (!value.isEmpty())
        addValue(app.values, key, value, {Change::SaasApps, Change::Value, id, {}, 0, 0, {}, {}});
}

void Follower::clearSaasApps()
{
    const QList<QString> ids = m_copy.saasApps.keys();
    for (const QString &id : ids)
        add({Change::SaasApps, Change::Removed, id, {}, 0, 0, {}, {}});
    m_copy.saasApps.clear();
}

void Follower::clear()
{
    const QList<QString> pools = m_copy.pools.keys();
    for (const QString &pool : pools)
        removePool(pool);
    clearRemoteApps();
    clearSaasApps();
    m_copy.isClosed = true;
}

using Step = void (Follower::*)();

} // namespace

QVector<Change> StoreCopy::follow(const QJsonArray &call, VmDatabase &database)
{
    // What is not here changes nothing.
    static const QHash<QString, Step> steps{
        {QStringLiteral("getPoolNodeValue"), &Follower::poolMention},
        {QStringLiteral("getNodeValue"), &Follower::poolMention},
        {QStringLiteral("getPolicyValue"), &Follower::poolMention},
        {QStringLiteral("getResourceNameByParentUuid"), &Follower::poolMention},
        {QStringLiteral("setPoolNodeValue"), &Follower::poolCall},
        {QStringLiteral("setNodeValue"), &Follower::nodeCall},
        {QStringLiteral("resetNodeValue"), &Follower::nodeCall},
        {QStringLiteral("setPolicyValue"), &Follower::policyCall},
        {QStringLiteral("wheelVmGroup"), &Follower::turnWheel},
        {QStringLiteral("dealVmPools"), &Follower::dealPools},
        {QStringLiteral("dealVmGroupPool"), &Follower::dealGroups},
        {QStringLiteral("removeNode"), &Follower::removeNode},
        {QStringLiteral("removeNodesByServerIp"), &Follower::removeServer},
        {QStringLiteral("removeChildrenByParentUuid"), &Follower::removeChildren},
        {QStringLiteral("removeFamilyByParentUuid"), &Follower::removeFamily},
        {QStringLiteral("setRemoteAppValue"), &Follower::setRemoteApp},
        {QStringLiteral("getRemoteAppControlPolicy"), &Follower::listRemoteApp},
        {QStringLiteral("setRemoteAppControlPolicy"), &Follower::setControlPolicy},
        {QStringLiteral("deleteRemoteApp"), &Follower::deleteRemoteApp},
        {QStringLiteral("clearRemoteAppList"), &Follower::clearRemoteApps},
        {QStringLiteral("setSaasAppValue"), &Follower::setSaasApp},
        {QStringLiteral("clearSaasAppList"), &Follower::clearSaasApps},
        {QStringLiteral("clear"), &Follower::clear},
    };
    Follower follower(*this, database, call);
    if (isClosed)
        return {};
    if (const Step step = steps.value(call.at(0).toString()))
        (follower.*step)();
    return follower.changes;
}
