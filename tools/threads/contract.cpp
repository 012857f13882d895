// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "contract.h"

#include "feed/json.h"

#include <vmdatabase/vdivm.h>

#include <QtCore/QJsonObject>

#include <utility>

const ContractRow newPoolRow{"any of these of a new pool", AddsPool};

// Ordinary operations have one row, or one for each thing that a call may be about.
static void addRows(QVector<ContractRow> &rows, const Operation &operation)
{
    const auto add = [&](const char *variant, quint32 touches) {
        rows << ContractRow{(operation.name + QLatin1String(variant)).toLatin1(), touches};
    };
    const quint32 touches = operation.touches;
    const bool adds = operation.has(Operation::Adds);
    if (operation.subject == Operation::AboutNode) {
        add(" of a pool", touches);
        add(" of an item", touches | ReadsItems);
    } else if (operation.subject == Operation::AboutStoredUuid && operation.has(Operation::Removes)) {
        add(" of a pool", touches | RemovesPools);
        add(" of an item", touches | RemovesItems);
    } else {
        add("", touches);
    }
    if (adds && (operation.subject == Operation::AboutNode || operation.subject == Operation::AboutPolicy))
        add(" of a new item", (touches & ~quint32(ReadsItems)) | AddsItem);
    if (adds && operation.subject == Operation::AboutRemoteApp)
        add(" of a new id", touches | AddsApp);
}

const QVector<ContractRow> &contractRows()
{
    static const QVector<ContractRow> rows = [] {
        QVector<ContractRow> made;
        for (const Operation &operation : allOperations()) {
            switch (operation.life) {
            case Operation::Constructor:
                made << ContractRow{"construction", operation.touches};
                break;
            case Operation::Destructor:
                made << ContractRow{"destruction", operation.touches};
                break;
            case Operation::Ordinary:
                addRows(made, operation);
                break;
            }
        }
        return made;
    }();
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

static const ContractRow *findRow(const QByteArray &name)
{
    static const QHash<QByteArray, const ContractRow *> byName = [] {
        QHash<QByteArray, const ContractRow *> hash;
        for (const ContractRow &row : contractRows())
            hash.insert(row.name, &row);
        return hash;
    }();
    return byName.value(name);
}

QString briefCall(const QJsonArray &call)
{
    const Call made(call);
    QStringList arguments;
    const bool ofItem = made.subject() == Operation::AboutNode || made.subject() == Operation::AboutPolicy;
    const int count = ofItem ? 2 : 1;
    for (int i = 1; i <= count && i < call.size(); ++i) {
        if (call.at(i).isString())
            arguments << shortJson(call.at(i));
    }
    return arguments.isEmpty()
               ? made.name()
               : made.name() + QLatin1Char('(') + arguments.join(QStringLiteral(", ")) + QLatin1Char(')');
}

// One call that begins: finds its row, which depends on what is stored, and takes over what the call changes.
class StoredNames::Beginning
{
public:
    Beginning(StoredNames &stored, const Call &call)
        : m_stored(stored)
        , m_call(call)
    {}

    Touched enter();

private:
    void touch(const char *variant = "");

    void follow();
    void node();
    void policy();
    void server();
    void storedUuid();
    void items();
    void pools();
    void remoteApp();
    void apps();
    void close();

    void lookUp();
    void storePoolValue();
    void item(const char *existing);
    void addPoolsWith(QString Pool::*value);
    quint32 removeFirst();

    StoredNames &m_stored;
    const Call &m_call;
    const QString m_id = m_call.id();
    Touched m_touched;
};

void StoredNames::Beginning::touch(const char *variant)
{
    const Operation *operation = m_call.operation();
    if (!operation)
        return;
    m_touched.row = findRow(operation->life == Operation::Constructor  ? QByteArray("construction")
                            : operation->life == Operation::Destructor ? QByteArray("destruction")
                                                                       : operation->name.toLatin1() + variant);
    if (m_touched.row)
        m_touched.touches |= m_touched.row->touches;
}

void StoredNames::Beginning::lookUp()
{
    Pool &pool = m_stored.m_pools[m_id];
    if (pool.number == 0) {
        pool.number = ++m_stored.m_lastNumber;
        pool.uuid = m_id;
        m_touched.touches |= AddsPool;
    }
    m_touched.its << pool.number;
}

// Only the values that decide which pools are an operation's.
void StoredNames::Beginning::storePoolValue()
{
    if (!m_call.has(Operation::Writes))
        return;
    Pool &pool = m_stored.m_pools[m_id];
    const int key = m_call.key();
    if (key == VdiVM::UuidKey)
        pool.uuid = m_call.value();
    else if (key == VdiVM::ServerIpKey)
        pool.server = m_call.value();
    else if (key == VdiVM::GroupKey)
        pool.group = m_call.value();
}

void StoredNames::Beginning::node()
{
    const bool adds = m_call.has(Operation::Adds);
    if (m_id.isEmpty() || (adds && m_call.type() == VdiVM::UnknownNode))
        return;
    if (m_call.isOfItem()) {
        if (!adds || !m_call.item().isEmpty())
            item(" of an item");
        return;
    }
    lookUp();
    touch(" of a pool");
    storePoolValue();
}

void StoredNames::Beginning::policy()
{
    if (!m_id.isEmpty() && (m_call.has(Operation::Adds) || !m_call.item().isEmpty()))
        item("");
}

void StoredNames::Beginning::item(const char *existing)
{
    lookUp();
    QSet<QString> &known = m_stored.m_pools[m_id].items;
    const bool adds = m_call.has(Operation::Adds) && !known.contains(m_call.item());
    touch(adds ? " of a new item" : existing);
    if (adds)
        known << m_call.item();
}

void StoredNames::Beginning::addPoolsWith(QString Pool::*value)
{
    for (const Pool &pool : std::as_const(m_stored.m_pools)) {
        if (pool.*value == m_id)
            m_touched.its << pool.number;
    }
}

void StoredNames::Beginning::server()
{
    touch();
    addPoolsWith(&Pool::server);
    if (!(m_touched.touches & RemovesPools))
        return;
    auto &known = m_stored.m_pools;
    for (auto pool = known.begin(); pool != known.end();) {
        if (pool->server == m_id) {
            m_stored.m_removedPools[pool->uuid] << pool->number;
            pool = known.erase(pool);
        } else {
            ++pool;
        }
    }
    if (m_touched.its.isEmpty())
        m_touched.touches &= ~quint32(RemovesPools);
}

// What removeNode() does: the first match goes.
quint32 StoredNames::Beginning::removeFirst()
{
    auto &known = m_stored.m_pools;
    for (auto pool = known.begin(); pool != known.end(); ++pool) {
        const quint64 number = pool->number;
        if (pool->uuid == m_id) {
            m_touched.its << number;
            m_stored.m_removedPools[pool->uuid] << number;
            known.erase(pool);
            return RemovesPools;
        }
        if (pool->items.remove(m_id)) {
            m_touched.its << number;
            return RemovesItems;
        }
    }
    return 0;
}

void StoredNames::Beginning::storedUuid()
{
    if (m_call.has(Operation::Removes)) {
        const quint32 removed = removeFirst();
        touch(removed == RemovesPools ? " of a pool" : " of an item");
        m_touched.touches &= ~quint32(RemovesPools | RemovesItems) | removed;
    } else if (!m_id.isEmpty()) {
        touch();
        addPoolsWith(&Pool::uuid);
    }
}

void StoredNames::Beginning::items()
{
    touch();
    const auto pool = m_stored.m_pools.find(m_id);
    const bool isKnown = pool != m_stored.m_pools.end();
    if (isKnown)
        m_touched.its << pool->number;
    if (!m_call.has(Operation::Removes))
        return;
    if (!isKnown || pool->items.isEmpty())
        m_touched.touches &= ~quint32(RemovesItems);
    if (isKnown)
        pool->items.clear();
}

void StoredNames::Beginning::pools()
{
    touch();
    const bool onlyGrouped = m_call.subject() == Operation::AboutGroups;
    for (const Pool &pool : std::as_const(m_stored.m_pools)) {
        if (!onlyGrouped || !pool.group.isEmpty())
            m_touched.its << pool.number;
    }
}

void StoredNames::Beginning::remoteApp()
{
    if (m_call.has(Operation::Removes)) {
        touch();
        const App app = m_stored.m_apps.take(m_id);
        if (app.hasRecord)
            m_stored.m_removedApps[app.id] << app.number;
        return;
    }
    App &app = m_stored.m_apps[m_id];
    const bool isNew = !std::exchange(app.hasRecord, true);
    if (isNew) {
        app.number = ++m_stored.m_lastNumber;
        app.id = m_id;
    }
    touch(isNew ? " of a new id" : "");
    if (m_call.key() == VdiVM::AppIdKey && !m_call.value().isEmpty())
        app.id = m_call.value();
}

void StoredNames::Beginning::apps()
{
    touch();
    for (const App &app : std::as_const(m_stored.m_apps)) {
        if (!m_call.has(Operation::Removes))
            m_touched.its << app.number;
        else if (app.hasRecord)
            m_stored.m_removedApps[app.id] << app.number;
    }
    if (m_call.has(Operation::Removes))
        m_stored.m_apps.clear();
}

void StoredNames::Beginning::close()
{
    touch();
    for (const Pool &pool : std::as_const(m_stored.m_pools))
        m_stored.m_removedPools[pool.uuid] << pool.number;
    m_stored.m_pools.clear();
    m_stored.m_apps.clear();
    m_stored.m_isClosed = true;
}

void StoredNames::Beginning::follow()
{
    switch (m_call.subject()) {
    case Operation::AboutPool:
        if (m_id.isEmpty())
            break;
        lookUp();
        touch();
        storePoolValue();
        break;
    case Operation::AboutNode:
        node();
        break;
    case Operation::AboutPolicy:
        policy();
        break;
    case Operation::AboutItems:
        items();
        break;
    case Operation::AboutFamily:
        items();
        m_touched.touches &= ~quint32(RemovesPools);
        m_touched.touches |= removeFirst();
        break;
    case Operation::AboutStoredUuid:
        storedUuid();
        break;
    case Operation::AboutServer:
        server();
        break;
    case Operation::AboutGroup: // its turn reads the group of every pool
    case Operation::AboutGroups:
    case Operation::AboutPools:
        pools();
        break;
    case Operation::AboutRemoteApp:
        remoteApp();
        break;
    case Operation::AboutControlPolicy:
        touch();
        m_stored.m_apps[m_id]; // is listed from now on
        break;
    case Operation::AboutRemoteApps:
        apps();
        break;
    case Operation::AboutDatabase:
        close();
        break;
    case Operation::AboutSaasApp:
    case Operation::AboutSaasApps:
    case Operation::AboutNothing:
        touch();
        break;
    }
}

Touched StoredNames::Beginning::enter()
{
    const bool isClosed = m_stored.m_isClosed;
    if (isClosed)
        touch();
    else
        follow();
    const bool isDestroyed = m_call.operation() && m_call.operation()->life == Operation::Destructor;
    if (isClosed && !isDestroyed)
        m_touched.touches = 0;
    return m_touched;
}

Touched StoredNames::enter(const QJsonArray &call)
{
    const Call made(call);
    Touched touched = Beginning(*this, made).enter();
    touched.call = briefCall(call);
    return touched;
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
