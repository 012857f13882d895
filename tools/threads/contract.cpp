// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "contract.h"

#include "feed/json.h"
#include "operations/keynames.h"

#include <vmdatabase/vdivm.h>

#include <QtCore/QJsonObject>

#include <utility>

// A value of the pool itself, or of an item.
static constexpr quint32 poolValue = LooksUpPool | UsesPools;
static constexpr quint32 itemValue = poolValue | ReadsItems;
static constexpr quint32 newItemValue = poolValue | AddsItem;

const ContractRow newPoolRow{"any of these of a new pool", AddsPool};

const QVector<ContractRow> &contractRows()
{
    static const QVector<ContractRow> rows{
        {"getPoolNodeValue", poolValue},
        {"getNodeValue of a pool", poolValue},
        {"getResourceNameByParentUuid", poolValue},
        {"setPoolNodeValue", poolValue},
        {"setNodeValue of a pool", poolValue},
        {"resetNodeValue of a pool", poolValue},
        {"getNodeValue of an item", itemValue},
        {"getPolicyValue", itemValue},
        {"setNodeValue of an item", itemValue},
        {"setPolicyValue", itemValue},
        {"resetNodeValue of an item", itemValue},
        {"setNodeValue of a new item", newItemValue},
        {"setPolicyValue of a new item", newItemValue},

        {"getItemCount", ReadsAnyItems | LocksItems},
        {"getItemCountByServerIp", ReadsItems | LocksItems},
        {"getItemUuid", ReadsAnyItems | UsesPools | UsesAnyPool},
        {"getItemType", ReadsAnyItems | UsesPools | UsesAnyPool},
        {"getItemTypeByUuid", ReadsAnyItems | LocksItems},
        {"getParentUuid", ReadsAnyItems | LocksItems},
        {"getUuidByParentUuid", ReadsItems | LocksItems},
        {"getChildrenByParentUuid", ListsPools | UsesPools | ReadsItems},
        {"getVmPoolNameList", ListsPools},
        {"printDatabase", ListsPools | UsesPools | UsesAnyPool | ReadsAnyItems},
        {"removeNode of a pool", RemovesPools | ReadsAnyItems | LocksItems},
        {"removeNode of an item", ReadsAnyItems | RemovesItems | LocksItems},
        {"removeNodesByServerIp", RemovesPools},
        {"removeChildrenByParentUuid", ListsPools | UsesPools | RemovesItems},
        {"removeFamilyByParentUuid", ListsPools | RemovesPools | UsesPools | ReadsAnyItems | RemovesItems},

        {"wheelVmGroup", UsesPools | UsesAnyPool},
        {"dealVmGroupPool", UsesPools | UsesAnyPool | ReadsItems},
        {"dealVmPools", ListsPools | UsesPools | UsesAnyPool | ReadsAnyItems},

        {"getAppCount", UsesApps},
        {"getRemoteAppId", UsesApps},
        {"getRemoteAppValue", UsesApps},
        {"setRemoteAppValue", UsesApps},
        {"setRemoteAppValue of a new id", UsesApps | AddsApp},
        {"clearRemoteAppList", UsesApps | RemovesApps},
        {"getAppNames", ListsApps},
        {"getAppsIdList", ListsApps},
        {"getAppsInfo", ListsApps | ReadsApps},
        {"getRemoteAppControlPolicy", ChangesApps},
        {"setRemoteAppControlPolicy", ChangesApps},
        {"deleteRemoteApp", ChangesApps | RemovesApps},

        {"getSaasAppCount", UsesSaas},
        {"getSaasAppId", UsesSaas},
        {"getSaasAppValue", UsesSaas},
        {"setSaasAppValue", UsesSaas},
        {"clearSaasAppList", ClearsSaas},

        {"construction", 0},
        {"setRemoteAppEnd", 0},
        {"buildKeyName", 0},
        {"clear", EndsDatabase},
        {"destruction", EndsDatabase},
    };
    return rows;
}

QStringList ContractRow::forbids() const
{
    const auto has = [this](quint32 touch) { return (touches & touch) != 0; };
    QStringList phrases;
    const auto add = [&phrases](bool applies, const char *phrase) {
        if (applies)
            phrases << QLatin1String(phrase);
    };
    const bool changesItems = has(AddsItem | RemovesItems);
    add(has(ListsPools), "add or remove pools");
    add(has(AddsPool | RemovesPools), "list pools");
    add(has(AddsPool), "look up its pool");
    add(has(UsesPools), has(UsesAnyPool) ? "delete pools" : "delete its pool");
    add(has(ReadsAnyItems), "change any items");
    add(has(ReadsItems) && !changesItems, "change its items");
    add(changesItems, "use its items");
    add(has(RemovesPools), "use a removed pool");
    add(has(UsesApps), "change applications unlocked");
    add(has(AddsApp | RemovesApps) && !has(ChangesApps), "list applications");
    add(has(ListsApps), "add or remove applications");
    add(has(ReadsApps), "delete applications");
    add(has(ChangesApps), "use applications");
    add(has(RemovesApps), "use a removed application");
    add(has(UsesSaas), "clear SaaS applications");
    add(has(ClearsSaas), "use SaaS applications");
    add(has(EndsDatabase), "use the database");
    return phrases;
}

static const ContractRow *findRow(const QString &name)
{
    static const QHash<QString, const ContractRow *> byName = [] {
        QHash<QString, const ContractRow *> hash;
        for (const ContractRow &row : contractRows())
            hash.insert(QLatin1String(row.name), &row);
        hash.insert(QStringLiteral("VmDatabase"), hash.value(QStringLiteral("construction")));
        hash.insert(QStringLiteral("~VmDatabase"), hash.value(QStringLiteral("destruction")));
        return hash;
    }();
    return byName.value(name);
}

QString briefCall(const QJsonArray &call)
{
    const QString operation = call.at(0).toString();
    QStringList names;
    const bool ofItem = operation.endsWith(QLatin1String("PolicyValue")) ||
                        (operation.endsWith(QLatin1String("NodeValue")) && !operation.contains(QLatin1String("Pool")));
    const int count = ofItem ? 2 : 1;
    for (int i = 1; i <= count && i < call.size(); ++i) {
        if (call.at(i).isString())
            names << shortJson(call.at(i));
    }
    return names.isEmpty() ? operation
                           : operation + QLatin1Char('(') + names.join(QStringLiteral(", ")) + QLatin1Char(')');
}

// One call that begins: finds its row, which depends on what is stored, and takes over what the call changes.
class StoredNames::Call
{
public:
    Call(StoredNames &stored, const QJsonArray &call)
        : m_stored(stored)
        , m_call(call)
        , m_name(call.at(0).toString())
        , m_sets(m_name.startsWith(QLatin1String("set")))
    {}

    Touched enter();

private:
    using Step = void (Call::*)();
    static const QHash<QString, Step> &steps();

    QString text(int argument) const { return m_call.at(argument).toString(); }
    int number(int argument, NamedNumbers names) const;
    void touch(const char *variant = "");

    void poolCall();         // uuid, ...
    void nodeCall();         // parentUuid, uuid, type, ...
    void policyCall();       // parentUuid, uuid, ...
    void serverCall();       // serverIp
    void onlyItem();         // parentUuid
    void children();         // parentUuid
    void removeNode();       // uuid
    void removeChildren();   // parentUuid
    void removeFamily();     // parentUuid
    void allPools();         // ...
    void setRemoteApp();     // appId, key, value
    void mentionRemoteApp(); // appId
    void deleteRemoteApp();  // appId
    void clearRemoteApps();
    void appsInfo();
    void end();

    void lookUp();
    void storePoolValue(int key, const QString &value);
    void itemCall(const char *existing);
    void addPoolsWith(QString Pool::*value, const QString &text);
    quint32 removeFirst();

    StoredNames &m_stored;
    const QJsonArray &m_call;
    const QString m_name;
    const bool m_sets;
    Touched m_touched;
};

int StoredNames::Call::number(int argument, NamedNumbers names) const
{
    const QJsonValue value = m_call.at(argument);
    int number = value.toInt();
    if (value.isString())
        numberOf(value.toString(), names, &number);
    return number;
}

void StoredNames::Call::touch(const char *variant)
{
    m_touched.row = findRow(m_name + QLatin1String(variant));
    if (m_touched.row)
        m_touched.touches |= m_touched.row->touches;
}

void StoredNames::Call::lookUp()
{
    Pool &pool = m_stored.m_pools[text(1)];
    if (pool.number == 0) {
        pool.number = ++m_stored.m_lastNumber;
        pool.uuid = text(1);
        m_touched.touches |= AddsPool;
    }
    m_touched.its << pool.number;
}

// Only the values that decide which pools are an operation's.
void StoredNames::Call::storePoolValue(int key, const QString &value)
{
    Pool &pool = m_stored.m_pools[text(1)];
    if (key == VdiVM::UuidKey)
        pool.uuid = value;
    else if (key == VdiVM::ServerIpKey)
        pool.server = value;
    else if (key == VdiVM::GroupKey)
        pool.group = value;
}

void StoredNames::Call::poolCall()
{
    if (text(1).isEmpty())
        return;
    lookUp();
    touch();
    if (m_sets)
        storePoolValue(number(2, NamedNumbers::NodeKeys), text(3));
}

void StoredNames::Call::nodeCall()
{
    const int type = number(3, NamedNumbers::VmTypes);
    const int key = number(4, NamedNumbers::NodeKeys);
    if (text(1).isEmpty() || (m_sets && type == VdiVM::UnknownNode))
        return;
    if (type == VdiVM::ItemNode) {
        if (!m_sets || !text(2).isEmpty())
            itemCall(" of an item");
        return;
    }
    lookUp();
    touch(" of a pool");
    if (m_sets || m_name == QLatin1String("resetNodeValue"))
        storePoolValue(key, text(5));
}

void StoredNames::Call::policyCall()
{
    if (!text(1).isEmpty() && (m_sets || !text(2).isEmpty()))
        itemCall("");
}

void StoredNames::Call::itemCall(const char *existing)
{
    lookUp();
    QSet<QString> &items = m_stored.m_pools[text(1)].items;
    const bool adds = m_sets && !items.contains(text(2));
    touch(adds ? " of a new item" : existing);
    if (adds)
        items << text(2);
}

void StoredNames::Call::addPoolsWith(QString Pool::*value, const QString &text)
{
    for (const Pool &pool : std::as_const(m_stored.m_pools)) {
        if (pool.*value == text)
            m_touched.its << pool.number;
    }
}

void StoredNames::Call::onlyItem()
{
    if (text(1).isEmpty())
        return;
    touch();
    addPoolsWith(&Pool::uuid, text(1));
}

void StoredNames::Call::serverCall()
{
    touch();
    addPoolsWith(&Pool::server, text(1));
    if (!(m_touched.touches & RemovesPools))
        return;
    auto &pools = m_stored.m_pools;
    for (auto pool = pools.begin(); pool != pools.end();) {
        if (pool->server == text(1)) {
            m_stored.m_removedPools[pool->uuid] << pool->number;
            pool = pools.erase(pool);
        } else {
            ++pool;
        }
    }
    if (m_touched.its.isEmpty())
        m_touched.touches &= ~quint32(RemovesPools);
}

void StoredNames::Call::children()
{
    touch();
    const auto pool = m_stored.m_pools.constFind(text(1));
    if (pool != m_stored.m_pools.cend())
        m_touched.its << pool->number;
}

// What removeNode() does: the first match goes.
quint32 StoredNames::Call::removeFirst()
{
    auto &pools = m_stored.m_pools;
    for (auto pool = pools.begin(); pool != pools.end(); ++pool) {
        const quint64 number = pool->number;
        if (pool->uuid == text(1)) {
            m_touched.its << number;
            m_stored.m_removedPools[pool->uuid] << number;
            pools.erase(pool);
            return RemovesPools;
        }
        if (pool->items.remove(text(1))) {
            m_touched.its << number;
            return RemovesItems;
        }
    }
    return 0;
}

void StoredNames::Call::removeNode()
{
    const quint32 removed = removeFirst();
    touch(removed == RemovesPools ? " of a pool" : " of an item");
    m_touched.touches &= ~quint32(RemovesPools | RemovesItems) | removed;
}

void StoredNames::Call::removeChildren()
{
    touch();
    const auto pool = m_stored.m_pools.find(text(1));
    const bool isKnown = pool != m_stored.m_pools.end();
    if (isKnown)
        m_touched.its << pool->number;
    if (!isKnown || pool->items.isEmpty())
        m_touched.touches &= ~quint32(RemovesItems);
    if (isKnown)
        pool->items.clear();
}

void StoredNames::Call::removeFamily()
{
    removeChildren();
    m_touched.touches &= ~quint32(RemovesPools);
    m_touched.touches |= removeFirst();
}

void StoredNames::Call::allPools()
{
    touch();
    const bool onlyGrouped = m_name == QLatin1String("dealVmGroupPool");
    for (const Pool &pool : std::as_const(m_stored.m_pools)) {
        if (!onlyGrouped || !pool.group.isEmpty())
            m_touched.its << pool.number;
    }
}

void StoredNames::Call::setRemoteApp()
{
    App &app = m_stored.m_apps[text(1)];
    const bool isNew = !std::exchange(app.hasRecord, true);
    if (isNew) {
        app.number = ++m_stored.m_lastNumber;
        app.id = text(1);
    }
    touch(isNew ? " of a new id" : "");
    if (number(2, NamedNumbers::AppKeys) == VdiVM::AppIdKey && !text(3).isEmpty())
        app.id = text(3);
}

void StoredNames::Call::mentionRemoteApp()
{
    touch();
    m_stored.m_apps[text(1)]; // is listed from now on
}

void StoredNames::Call::deleteRemoteApp()
{
    touch();
    const App app = m_stored.m_apps.take(text(1));
    if (app.hasRecord)
        m_stored.m_removedApps[app.id] << app.number;
}

void StoredNames::Call::clearRemoteApps()
{
    touch();
    for (const App &app : std::as_const(m_stored.m_apps)) {
        if (app.hasRecord)
            m_stored.m_removedApps[app.id] << app.number;
    }
    m_stored.m_apps.clear();
}

void StoredNames::Call::appsInfo()
{
    touch();
    for (const App &app : std::as_const(m_stored.m_apps))
        m_touched.its << app.number;
}

void StoredNames::Call::end()
{
    touch();
    for (const Pool &pool : std::as_const(m_stored.m_pools))
        m_stored.m_removedPools[pool.uuid] << pool.number;
    m_stored.m_pools.clear();
    m_stored.m_apps.clear();
    m_stored.m_isClosed = true;
}

const QHash<QString, StoredNames::Call::Step> &StoredNames::Call::steps()
{
    // What is not here touches what its row says, whatever is stored.
    static const QHash<QString, Step> steps{
        {QStringLiteral("getNodeValue"), &Call::nodeCall},
        {QStringLiteral("getPoolNodeValue"), &Call::poolCall},
        {QStringLiteral("setNodeValue"), &Call::nodeCall},
        {QStringLiteral("setPoolNodeValue"), &Call::poolCall},
        {QStringLiteral("resetNodeValue"), &Call::nodeCall},
        {QStringLiteral("getPolicyValue"), &Call::policyCall},
        {QStringLiteral("setPolicyValue"), &Call::policyCall},
        {QStringLiteral("getItemCountByServerIp"), &Call::serverCall},
        {QStringLiteral("getItemUuid"), &Call::allPools},
        {QStringLiteral("getItemType"), &Call::allPools},
        {QStringLiteral("getUuidByParentUuid"), &Call::onlyItem},
        {QStringLiteral("getResourceNameByParentUuid"), &Call::poolCall},
        {QStringLiteral("getChildrenByParentUuid"), &Call::children},
        {QStringLiteral("printDatabase"), &Call::allPools},
        {QStringLiteral("removeNode"), &Call::removeNode},
        {QStringLiteral("removeNodesByServerIp"), &Call::serverCall},
        {QStringLiteral("removeChildrenByParentUuid"), &Call::removeChildren},
        {QStringLiteral("removeFamilyByParentUuid"), &Call::removeFamily},
        {QStringLiteral("wheelVmGroup"), &Call::allPools},
        {QStringLiteral("dealVmGroupPool"), &Call::allPools},
        {QStringLiteral("dealVmPools"), &Call::allPools},
        {QStringLiteral("setRemoteAppValue"), &Call::setRemoteApp},
        {QStringLiteral("getRemoteAppControlPolicy"), &Call::mentionRemoteApp},
        {QStringLiteral("setRemoteAppControlPolicy"), &Call::mentionRemoteApp},
        {QStringLiteral("deleteRemoteApp"), &Call::deleteRemoteApp},
        {QStringLiteral("clearRemoteAppList"), &Call::clearRemoteApps},
        {QStringLiteral("getAppsInfo"), &Call::appsInfo},
        {QStringLiteral("clear"), &Call::end},
        {QStringLiteral("~VmDatabase"), &Call::end},
    };
    return steps;
}

Touched StoredNames::Call::enter()
{
    const bool isClosed = m_stored.m_isClosed;
    const Step step = steps().value(m_name);
    if (step && !isClosed)
        (this->*step)();
    else
        touch();
    if (isClosed && m_name != QLatin1String("~VmDatabase"))
        m_touched.touches = 0;

    m_touched.call = briefCall(m_call);
    return m_touched;
}

Touched StoredNames::enter(const QJsonArray &call)
{
    return Call(*this, call).enter();
}

Touched StoredNames::deleteRemoved(Removed &removed, const QString &name)
{
    Touched touched;
    const auto it = removed.find(name);
    if (it == removed.end())
        return touched;
    touched.touches = DeletesRecord;
    touched.its << it->takeFirst();
    touched.call = QStringLiteral("the event loop");
    if (it->isEmpty())
        removed.erase(it);
    return touched;
}

// What the second of two calls must not do beside the first; empty if it may. One entry for each rule of the contract.
static QString forbidden(const Touched &first, const Touched &second)
{
    struct Rule
    {
        quint32 first;
        quint32 second;
        bool ofSame; // only if both are at the same pool or application
        const char *text;
    };
    static const Rule rules[]{
        {~0U, EndsDatabase, false, " which ends the database: nothing may run beside that"},
        {ListsPools, AddsPool, false, " which adds a pool: pools must not be added meanwhile"},
        {ListsPools, RemovesPools, false, " which removes a pool: pools must not be removed meanwhile"},
        {LooksUpPool, AddsPool, true, " which adds the pool: it must not be looked up meanwhile"},
        {ReadsAnyItems, AddsItem, false, " which adds an item: items must not be added meanwhile"},
        {ReadsAnyItems, RemovesItems, false, " which removes an item: items must not be removed meanwhile"},
        {ReadsItems | AddsItem | RemovesItems, AddsItem, true,
         " which adds an item: items of that pool must not be added meanwhile"},
        {ReadsItems | AddsItem | RemovesItems, RemovesItems, true,
         " which removes an item: items of that pool must not be removed meanwhile"},
        {UsesPools, DeletesRecord, true, " which deletes a removed pool: it must not be in use then"},
        {ReadsApps, DeletesRecord, true, " which deletes a removed application: it must not be in use then"},
        {UsesApps | ListsApps | ChangesApps, ChangesApps, false,
         " which takes no lock: remote applications must not be used meanwhile"},
        {ListsApps, AddsApp, false, " which adds an application: applications must not be added meanwhile"},
        {ListsApps, RemovesApps, false, " which removes applications: applications must not be removed meanwhile"},
        {UsesSaas | ClearsSaas, ClearsSaas, false,
         " which takes no lock: SaaS applications must not be used meanwhile"},
    };
    for (const Rule &rule : rules) {
        // What the event loop deletes, the database has let go of before.
        const bool isFirst = rule.first == ~0U ? first.touches != DeletesRecord : (first.touches & rule.first) != 0;
        if (!isFirst || !(second.touches & rule.second))
            continue;
        if (rule.ofSame && !first.its.intersects(second.its))
            continue;
        const bool ofItems = rule.second & (AddsItem | RemovesItems);
        if (ofItems && first.touches & second.touches & LocksItems)
            continue; // the one reads, the other writes with the lock on the table
        return QString::fromLatin1(rule.text);
    }
    return {};
}

QString conflict(const Touched &a, const QString &threadA, const Touched &b, const QString &threadB)
{
    const auto sentence = [](const Touched &first, const QString &firstThread, const Touched &second,
                             const QString &secondThread) {
        const QString rule = forbidden(first, second);
        return rule.isEmpty()
                   ? QString()
                   : QStringLiteral("%1: %2  beside  %3: %4").arg(firstThread, first.call, secondThread, second.call) +
                         rule;
    };
    const QString text = sentence(a, threadA, b, threadB);
    return text.isEmpty() ? sentence(b, threadB, a, threadA) : text;
}
