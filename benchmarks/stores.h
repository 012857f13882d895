// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <vmdatabase/vmdatabase.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDebug>
#include <QtCore/QReadWriteLock>
#include <QtCore/QVariant>
#include <sqlite3.h>

#include <algorithm>
#include <mutex>
#include <shared_mutex>
#include <tuple>
#include <unordered_map>
#include <vector>

// The library, and what one would otherwise write oneself over containers or a database, as far as it goes: all with
// the library's operations, so that a workload is written once.
enum Feature { Decisions = 1, Positions = 2, Threads = 4 };

using Text = const QString &;

// Nobody asks for its meta-object or gives it a parent.
class Library : public VmDatabase // clazy:exclude=missing-qobject-macro,ctor-missing-parent-argument
{
public:
    static constexpr int features = Decisions | Positions | Threads;

    ~Library() override
    {
        clearRemoteAppList();
        clear();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::sendPostedEvents(); // drops the spent entries
    }
};

struct NoLock
{
    void lock() {}
    void unlock() {}
    void lock_shared() {}
    void unlock_shared() {}
};

struct QtLock : QReadWriteLock
{
    void lock() { lockForWrite(); }
    void lock_shared() { lockForRead(); }
    void unlock_shared() { unlock(); }
};

template <typename Key, typename Value>
struct Ordered : QMap<Key, Value>
{
    const Value *get(const Key &key) const
    {
        const auto it = this->constFind(key);
        return it == this->cend() ? nullptr : &*it;
    }
};

template <typename Key, typename Value>
struct Hashed : std::unordered_map<Key, Value>
{
    const Value *get(const Key &key) const
    {
        const auto it = this->find(key);
        return it == this->cend() ? nullptr : &it->second;
    }
    auto keyValueBegin() const { return this->begin(); }
    auto keyValueEnd() const { return this->end(); }
    int remove(const Key &key) { return int(this->erase(key)); }
};

template <typename Map, typename Predicate>
bool anyOf(const Map &map, Predicate predicate)
{
    return std::any_of(map.keyValueBegin(), map.keyValueEnd(),
                       [&](const auto &entry) { return predicate(entry.first, entry.second); });
}

/// Nested containers behind one lock, with one lookup per step. Without the lock they are the limit for their kind.
template <template <typename, typename> class Map, typename Mutex>
class Containers
{
    struct Policy
    {
        Map<int, QString> values;
    };
    struct Item : Policy
    {
        Map<int, Policy> policies;
    };
    struct Pool : Policy
    {
        Map<QString, Item> items;
    };

public:
    static constexpr bool isOrdered = std::is_same_v<Map<int, int>, Ordered<int, int>>;
    static constexpr int features =
        Decisions | (isOrdered ? Positions : 0) | (std::is_same_v<Mutex, NoLock> ? 0 : Threads);

    QString getPoolNodeValue(Text uuid, int key)
    {
        const std::shared_lock lock(mutex);
        return text(pools.get(uuid), key);
    }
    QString getNodeValue(Text pool, Text uuid, int, int key)
    {
        const std::shared_lock lock(mutex);
        return text(find(pool, uuid), key);
    }
    QString getPolicyValue(Text pool, Text uuid, int type, int key)
    {
        const std::shared_lock lock(mutex);
        const Item *item = find(pool, uuid);
        return text(item ? item->policies.get(type) : nullptr, key);
    }
    QString getRemoteAppValue(Text id, int key)
    {
        const std::shared_lock lock(mutex);
        return text(apps.get(id), key);
    }
    void setPoolNodeValue(Text pool, int key, Text text)
    {
        const std::unique_lock lock(mutex);
        pools[pool].values[key] = text;
    }
    void setNodeValue(Text pool, Text item, int, int key, Text text)
    {
        const std::unique_lock lock(mutex);
        pools[pool].items[item].values[key] = text;
    }
    void setPolicyValue(Text pool, Text item, int type, int key, Text text)
    {
        const std::unique_lock lock(mutex);
        pools[pool].items[item].policies[type].values[key] = text;
    }
    void setRemoteAppValue(Text id, int key, Text text)
    {
        const std::unique_lock lock(mutex);
        apps[id].values[key] = text;
    }

    QString getItemUuid(int index)
    {
        const std::shared_lock lock(mutex);
        const auto pool = skipTo(index);
        return pool == pools.cend()         ? QString()
               : index < pool->items.size() ? std::next(pool->items.cbegin(), index).key()
                                            : pool.key();
    }
    int getItemType(int index)
    {
        const std::shared_lock lock(mutex);
        const auto pool = skipTo(index);
        return pool == pools.cend() ? 0 : index < pool->items.size() ? VdiVM::ItemNode : VdiVM::PoolNode;
    }
    QString getParentUuid(Text uuid)
    {
        const std::shared_lock lock(mutex);
        return pools.get(uuid) ? uuid : parentOf(uuid);
    }
    int getItemTypeByUuid(Text uuid)
    {
        const std::shared_lock lock(mutex);
        return pools.get(uuid) ? VdiVM::PoolNode : parentOf(uuid).isNull() ? VdiVM::UnknownNode : VdiVM::ItemNode;
    }
    void removeNode(Text uuid)
    {
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): the walk is const, the store is not
        const auto remove = [&](auto &, auto &pool) { return const_cast<Pool &>(pool).items.remove(uuid); };
        const std::unique_lock lock(mutex);
        pools.remove(uuid) || anyOf(pools, remove);
    }
    QString getRemoteAppId(int index)
    {
        const std::shared_lock lock(mutex);
        return apps.keys().at(index); // copies the list
    }
    QMap<QString, QString> getAppsInfo()
    {
        const std::shared_lock lock(mutex);
        QMap<QString, QString> info;
        anyOf(apps, [&](auto &, auto &app) {
            return info.insert(text(&app, VdiVM::AppSummaryKey), text(&app, VdiVM::AppSummaryValueKey)), false;
        });
        return info;
    }

    void dealVmPools()
    {
        const std::unique_lock lock(mutex);
        QMap<QString, std::vector<Pool *>> groups;
        for (const auto &[uuid, pool] : select([](auto &) { return true; })) {
            if (anyOf(pool->items, [](auto &, auto &item) { return number(&item, VdiVM::ItemActiveKey) == 1; }))
                pool->values[VdiVM::FailedToConnectKey] = QStringLiteral("0");
            const uint type = number(pool, VdiVM::PoolTypeKey);
            const bool byItems = type == 1 || type == 3 || type == 7;
            const QString group = text(pool, VdiVM::GroupKey);
            if (!group.isEmpty())
                groups[group].push_back(pool);
            if (!byItems && !group.isEmpty())
                decide(pool, true, "poolNode, SET HIDE ");
            else if (byItems || number(pool, VdiVM::AllowMultiDynamicKey) == 0)
                setHidden(pool, !pool->items.empty());
            else
                decide(pool, false, "pool allowMultiDynamicDesktop, DO SHOW ");
        }
        for (std::vector<Pool *> &group : groups) {
            std::sort(group.begin(), group.end(), goesFirst);
            bool hasItem = false, multi = false;
            for (Pool *pool : group) {
                decide(pool, true, "poolNode, SET HIDE ");
                hasItem = hasItem || !pool->items.empty();
                multi = multi || (number(pool, VdiVM::AllowMultiDynamicKey) && number(pool, VdiVM::PreferredKey));
            }
            if (multi)
                decide(group.front(), false, "GROUP allowMultiDynamicDesktop, DO SHOW ");
            else if (!hasItem)
                decide(group.front(), false, "GROUP do not have Item, DO SHOW ");
        }
    }

    bool wheelVmGroup(Text name, QString &uuid)
    {
        const std::unique_lock lock(mutex);
        const auto group = select([&](auto &pool) { return text(&pool, VdiVM::GroupKey) == name; });
        bool usable = false;
        for (const auto &[key, pool] : group) {
            log() << "xx wheelVmGroup keyUuid: " << text(pool, VdiVM::UuidKey) << ", keyFailedToConnect "
                  << text(pool, VdiVM::FailedToConnectKey);
            setHidden(pool, true);
            usable = usable || number(pool, VdiVM::FailedToConnectKey) == 0;
        }
        const auto leads = [](auto &a, auto &b) { return goesFirst(a.second, b.second); };
        const auto lead = std::min_element(group.begin(), group.end(), leads);
        if (lead == group.end())
            return false;
        setHidden(lead->second, false);
        if (usable)
            log() << "wheelVmGroup select keyUuid: " << (uuid = text(lead->second, VdiVM::UuidKey));
        return usable;
    }

private:
    static QDebug log() { return QMessageLogger().info(); }
    static Text text(const Policy *record, int key)
    {
        static const QString none;
        const QString *text = record ? record->values.get(key) : nullptr;
        return text ? *text : none;
    }
    static uint number(const Policy *record, int key) { return text(record, key).toUInt(); }
    static void setHidden(Pool *pool, bool hidden)
    {
        pool->values[VdiVM::HiddenKey] = hidden ? QStringLiteral("1") : QStringLiteral("0");
    }
    static void decide(Pool *pool, bool hidden, const char *decision)
    {
        setHidden(pool, hidden);
        log() << decision << text(pool, VdiVM::NameKey) << ", keyPerrior:" << text(pool, VdiVM::PriorityKey);
    }
    static auto rank(const Pool *pool)
    {
        return std::make_tuple(number(pool, VdiVM::FailedToConnectKey) != 0, number(pool, VdiVM::PreferredKey) == 0,
                               ~number(pool, VdiVM::PriorityKey));
    }
    static bool goesFirst(const Pool *a, const Pool *b) { return rank(a) < rank(b); }
    const Item *find(Text pool, Text item) const
    {
        const Pool *found = pools.get(pool);
        return found ? found->items.get(item) : nullptr;
    }
    /// In the order of their uuids, in which decisions are logged.
    template <typename Predicate>
    auto select(Predicate wanted) const
    {
        std::vector<std::pair<const QString *, Pool *>> found;
        anyOf(pools, [&](auto &uuid, auto &pool) {
            // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): who asks changes the pools
            return wanted(pool) && (found.emplace_back(&uuid, const_cast<Pool *>(&pool)), false);
        });
        if (!isOrdered)
            std::sort(found.begin(), found.end(), [](auto &a, auto &b) { return *a.first < *b.first; });
        return found;
    }
    QString parentOf(Text uuid) const
    {
        QString parent;
        anyOf(pools, [&](auto &key, auto &pool) { return pool.items.get(uuid) && (parent = key, true); });
        return parent;
    }
    auto skipTo(int &index) const
    {
        auto pool = pools.cbegin();
        for (; pool != pools.cend() && index > pool->items.size(); ++pool)
            index -= pool->items.size() + 1;
        return pool;
    }

    Map<QString, Pool> pools;
    Map<QString, Item> apps;
    mutable Mutex mutex;
};

/// A QVariantMap by paths.
class VariantTable
{
public:
    QString read(Text pool, Text item, int type, int key) const
    {
        return values.value(path(pool, item, type, key)).toString();
    }
    void write(Text pool, Text item, int type, int key, Text text) { values.insert(path(pool, item, type, key), text); }

private:
    static QString path(Text pool, Text item, int type, int key)
    {
        return QStringList{pool, item, QString::number(type), QString::number(key)}.join(QLatin1Char('/'));
    }
    QVariantMap values;
};

/// SQLite in memory, through prepared statements.
class SqliteTable
{
    Q_DISABLE_COPY(SqliteTable)

public:
    SqliteTable()
    {
        sqlite3_open(":memory:", &db);
        sqlite3_exec(db,
                     "PRAGMA encoding = 'UTF-16'; CREATE TABLE v (pool, item, type, key, text,"
                     " PRIMARY KEY (pool, item, type, key)) WITHOUT ROWID",
                     nullptr, nullptr, nullptr);
        sqlite3_prepare_v2(db, "INSERT OR REPLACE INTO v VALUES (?, ?, ?, ?, ?)", -1, &writing, nullptr);
        sqlite3_prepare_v2(db, "SELECT text FROM v WHERE pool = ? AND item = ? AND type = ? AND key = ?", -1, &reading,
                           nullptr);
    }
    ~SqliteTable()
    {
        sqlite3_finalize(writing);
        sqlite3_finalize(reading);
        sqlite3_close(db);
    }

    QString read(Text pool, Text item, int type, int key) { return run(reading, pool, item, type, key); }
    void write(Text pool, Text item, int type, int key, Text text)
    {
        sqlite3_bind_text16(writing, 5, text.utf16(), text.size() * 2, SQLITE_STATIC);
        run(writing, pool, item, type, key);
    }

private:
    static QString run(sqlite3_stmt *statement, Text pool, Text item, int type, int key)
    {
        sqlite3_bind_text16(statement, 1, pool.utf16(), pool.size() * 2, SQLITE_STATIC);
        sqlite3_bind_text16(statement, 2, item.utf16(), item.size() * 2, SQLITE_STATIC);
        sqlite3_bind_int(statement, 3, type);
        sqlite3_bind_int(statement, 4, key);
        QString text;
        if (sqlite3_step(statement) == SQLITE_ROW)
            text = QString(static_cast<const QChar *>(sqlite3_column_text16(statement, 0)));
        sqlite3_reset(statement);
        return text;
    }

    sqlite3 *db = nullptr;
    sqlite3_stmt *writing = nullptr, *reading = nullptr;
};

/// One table behind one lock: a pool's values have no item, an application's no pool.
template <typename Table, typename Mutex>
class Flat
{
public:
    static constexpr int features = std::is_same_v<Mutex, NoLock> ? 0 : Threads;

    QString getPoolNodeValue(Text pool, int key) { return getPolicyValue(pool, {}, -1, key); }
    QString getNodeValue(Text pool, Text item, int, int key) { return getPolicyValue(pool, item, -1, key); }
    QString getPolicyValue(Text pool, Text item, int type, int key)
    {
        const std::shared_lock lock(mutex);
        return table.read(pool, item, type, key);
    }
    QString getRemoteAppValue(Text id, int key) { return getPolicyValue({}, id, -1, key); }
    void setPoolNodeValue(Text pool, int key, Text text) { setPolicyValue(pool, {}, -1, key, text); }
    void setNodeValue(Text pool, Text item, int, int key, Text text) { setPolicyValue(pool, item, -1, key, text); }
    void setPolicyValue(Text pool, Text item, int type, int key, Text text)
    {
        const std::unique_lock lock(mutex);
        table.write(pool, item, type, key, text);
    }
    void setRemoteAppValue(Text id, int key, Text text) { setPolicyValue({}, id, -1, key, text); }

private:
    Table table;
    Mutex mutex;
};

using BareMap = Containers<Ordered, NoLock>;
using BareHash = Containers<Hashed, NoLock>;
using LockedHash = Containers<Hashed, std::shared_mutex>;
using LockedVariants = Flat<VariantTable, QtLock>;
using Sqlite = Flat<SqliteTable, NoLock>;
