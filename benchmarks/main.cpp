// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "stores.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <array>
#include <deque>
#include <map>
#include <random>

using benchmark::State;

static constexpr auto keep = [](auto &&answer) { benchmark::DoNotOptimize(answer); };

// Qt does not allocate through operator new: counted is what everything goes through.
static thread_local qint64 allocations = 0;

// NOLINTNEXTLINE(clang-diagnostic-reserved-identifier): that is its name
extern "C" void *__libc_malloc(size_t);
extern "C" void *malloc(size_t size)
{
    ++allocations;
    return __libc_malloc(size);
}

static QVector<QString> texts(const char *format, int count)
{
    QVector<QString> texts;
    texts.reserve(count);
    for (int i = 0; i < count; ++i) // the order of the texts is not that of their numbers
        texts.append(QString::asprintf(format, uint(i) * 2654435761U));
    return texts;
}

static const QVector<QString> poolUuids = texts("5d1e8f36-42c7-4b09-a1d4-9f3e%08x", 100000);
static const QVector<QString> itemUuids = texts("5d1e8f36-42c7-4b09-a1d4-7c20%08x", 100000);
static const QVector<QString> appIds = texts("5d1e8f36-42c7-4b09-a1d4-11b6%08x", 1000);
static const QVector<QString> values = texts("value %08x", 64);
static constexpr int itemKeys[] = {1, 3, 5, 6, 200, 201, 202, 203, 204, 205, 300, 301};

/// As a parser makes them: shared with nobody.
static QString parsed(const QString &text)
{
    return QString(text.constData(), text.size());
}

struct Size
{
    int pools, items, group = 4; // items in each pool, pools in each group
};

/// What one turn of a workload is about.
struct At
{
    const QString &pool, &item, &app;
    int key; // of the item
    VdiVM::PolicyType policy;
};

template <typename Store>
void feed(Store &store, Size size)
{
    for (int pool = 0; pool < size.pools; ++pool) {
        const QString parent = parsed(poolUuids[pool]);
        store.setPoolNodeValue(parent, VdiVM::UuidKey, parsed(parent));
        store.setPoolNodeValue(parent, VdiVM::NameKey, parsed(values[pool % 64]));
        store.setPoolNodeValue(parent, VdiVM::PoolTypeKey, QString::number(pool % 9 ? 2 : 1));
        store.setPoolNodeValue(parent, VdiVM::GroupKey, pool % 11 ? QString::number(pool / size.group) : QString());
        store.setPoolNodeValue(parent, VdiVM::PriorityKey, QString::number(pool));
        store.setPoolNodeValue(parent, VdiVM::FailedToConnectKey, QString::number(pool % 3 == 0));
        store.setPoolNodeValue(parent, VdiVM::AllowMultiDynamicKey, QString::number(pool % 7 == 5));
        store.setPoolNodeValue(parent, VdiVM::PreferredKey, QString::number(pool % 5 == 0));
        for (int i = pool * size.items; i < (pool + 1) * size.items; ++i) {
            const QString item = parsed(itemUuids[i]);
            for (const int key : itemKeys)
                store.setNodeValue(parent, item, VdiVM::ItemNode, key, parsed(values[(i + key) % 64]));
        }
    }
}

template <typename Store>
void feedApps(Store &store)
{
    for (const QString &id : appIds) {
        for (int key = 2; key < 14; ++key)
            store.setRemoteAppValue(parsed(id), key, parsed(key == VdiVM::AppSummaryKey ? id : values[key]));
    }
}

/// Feeds a store with texts that exist already, so that making them is not timed.
class Calls
{
    struct Call
    {
        QString pool, item; // an application has no pool
        int key;
        QString text;
    };

public:
    void setPoolNodeValue(Text pool, int key, Text text) { calls.push_back({pool, {}, key, text}); }
    void setNodeValue(Text pool, Text item, int, int key, Text text) { calls.push_back({pool, item, key, text}); }
    void setRemoteAppValue(Text id, int key, Text text) { calls.push_back({{}, id, key, text}); }

    template <typename Store>
    void play(Store &store) const
    {
        for (const auto &[pool, item, key, text] : calls) {
            if (item.isNull())
                store.setPoolNodeValue(pool, key, text);
            else if (pool.isNull())
                store.setRemoteAppValue(item, key, text);
            else
                store.setNodeValue(pool, item, VdiVM::ItemNode, key, text);
        }
    }

private:
    std::deque<Call> calls; // grows in small blocks; a vector would leave pieces of used heap to the store
};

template <typename Store>
class Workloads
{
    using Sizes = std::vector<Size>;
    using Benchmark = benchmark::internal::Benchmark;
    using S = Store &;
    using Fresh = void (*)(std::unique_ptr<Store> &store, Calls &calls, Size size);
    using Operation = void (*)(S s, At at);

public:
    explicit Workloads(const std::string &competitor)
        : name('|' + competitor)
    {
        const Fresh fill = [](auto &store, Calls &, Size size) { feed(*store, size); };
        const Sizes small{{100, 100}}, all{{10, 10}, {100, 100}, {10000, 10}};
        addOperation("read item", all, readItem);
        addOperation("overwrite item", all, writeItem);
        addOperation("read pool", all, [](S s, At at) { keep(s.getPoolNodeValue(at.pool, VdiVM::NameKey)); });
        addOperation("get policy", small,
                     [](S s, At at) { keep(s.getPolicyValue(at.pool, at.item, at.policy, at.key % 4)); });
        addOperation("set policy", small,
                     [](S s, At at) { s.setPolicyValue(at.pool, at.item, at.policy, at.key % 4, text()); });
        addOperation("read application", small, [](S s, At at) { keep(s.getRemoteAppValue(at.app, 5)); });
        if constexpr (Store::features & Threads) {
            addOperation("two readers", small, readItem)->Threads(2)->UseRealTime();
            addOperation("reader and writer", small, readItem, writeItem)->Threads(2)->UseRealTime();
        }
        if constexpr (Store::features & Decisions) {
            addOperation("parent", {{1000, 10}, {1000, 100}}, [](S s, At at) { keep(s.getParentUuid(at.item)); });
            addOperation("type", {{1000, 10}}, [](S s, At at) { keep(s.getItemTypeByUuid(at.item)); });
            addOperation("deal", {{10, 10}, {100, 100}, {1000, 1}, {10000, 1}, {100000, 1}},
                         [](S s, At) { s.dealVmPools(); });
            addOperation("wheel", {{10, 10}, {100, 100}, {10000, 0}, {10000, 0, 64}, {10000, 0, 1024}}, [](S s, At) {
                QString uuid;
                s.wheelVmGroup(QString::number(1), uuid);
            });
            addOperation("application summary", small, [](S s, At) { keep(s.getAppsInfo()); });
            addFresh("remove", small, fill, [](auto &store, Calls &, Size size) {
                for (int i = 0; i < size.pools * size.items; ++i)
                    store->removeNode(itemUuids[i]);
                std::for_each_n(poolUuids.begin(), size.pools, [&](Text uuid) { store->removeNode(uuid); });
                QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
                QCoreApplication::sendPostedEvents(); // drops the spent entries
            });
        }
        if constexpr (Store::features & Positions) {
            addOperation("all positions", {{100, 100}, {1000, 10}}, [](S s, At) {
                for (int i = 0; s.getItemType(i); ++i)
                    keep(s.getItemUuid(i));
            });
            addOperation("all application positions", small, [](S s, At) {
                for (int i = 0; i < 1000; ++i)
                    keep(s.getRemoteAppId(i));
            });
        }
        const Fresh make = [](auto &, Calls &calls, Size size) { feed(calls, size); };
        const Fresh makeApps = [](auto &, Calls &calls, Size) { feedApps(calls); };
        const Fresh play = [](auto &store, Calls &calls, Size) { calls.play(*store); };
        addFresh("feed", {{10, 10}, {100, 100}, {1000, 100}, {10000, 10}}, make, play);
        addFresh("feed applications", small, makeApps, play);
        addFresh("clear", small, fill, [](auto &store, Calls &, Size) { store.reset(); });
        addMemory("bytes of an item", usedBytes, {100, 50}, 5000);
        addMemory("allocations for an item", usedAllocations, {100, 50}, 5000);
        addMemory("bytes of a pool", usedBytes, {1100, 0}, 1000);
        addMemory("allocations for a pool", usedAllocations, {1100, 0}, 1000);
    }

private:
    static qint64 usedBytes() { return qint64(mallinfo2().uordblks + mallinfo2().hblkhd); }
    static qint64 usedAllocations() { return allocations; }
    static void readItem(S s, At at) { keep(s.getNodeValue(at.pool, at.item, VdiVM::ItemNode, at.key)); }
    static void writeItem(S s, At at) { s.setNodeValue(at.pool, at.item, VdiVM::ItemNode, at.key, text()); }
    static QString text() { return parsed(values[1]); }

    /// Registers \a run for all sizes but those that take tables minutes to fill.
    template <typename Run>
    Benchmark *add(const std::string &workload, const Sizes &sizes, Run run)
    {
        Benchmark *added = nullptr;
        for (const Size size : sizes) {
            if (size.pools * size.items > 10000 && !(Store::features & Decisions))
                continue;
            std::string label = workload + ' ' + std::to_string(size.pools) + 'x' + std::to_string(size.items);
            label += size.group == 4 ? name : " by " + std::to_string(size.group) + name;
            added = benchmark::RegisterBenchmark(label.c_str(), [=](State &state) { run(state, size); });
        }
        return added;
    }

    /// Fed once for all workloads that leave it as large as it is.
    static Store &scene(Size size)
    {
        static std::map<std::array<int, 3>, std::unique_ptr<Store>> scenes;
        static std::mutex mutex;
        const std::lock_guard lock(mutex);
        auto &store = scenes[{size.pools, size.items, size.group}];
        if (!store) {
            store = std::make_unique<Store>();
            feed(*store, size);
            feedApps(*store);
            for (int i = 0; i < qMin(10000, size.pools * size.items) * 20; ++i) // 5 policies with 4 values each
                store->setPolicyValue(poolUuids[i / 20 / size.items], itemUuids[i / 20], VdiVM::PolicyType(i % 5),
                                      i / 5 % 4, text());
        }
        return *store;
    }

    /// Runs \a first at random items, and \a second in the second thread.
    Benchmark *addOperation(const char *workload, const Sizes &sizes, Operation first, Operation second = nullptr)
    {
        return add(workload, sizes, [=](State &state, Size size) {
            Store &store = scene(size);
            const Operation operation = second && state.thread_index() == 1 ? second : first;
            std::mt19937 random(uint(state.thread_index()));
            std::vector<int> picks(1 << 16);
            for (int &pick : picks)
                pick = int(random() % uint(qMax(1, size.pools * size.items)));
            size_t turn = 0;
            for (auto _ : state) {
                const int item = picks[++turn % picks.size()], key = itemKeys[turn % 12];
                operation(store, {poolUuids[item / qMax(1, size.items)], itemUuids[item], appIds[item % 1000], key,
                                  VdiVM::PolicyType(item % 5)});
            }
        });
    }

    void addFresh(const char *workload, const Sizes &sizes, Fresh prepare, Fresh operation)
    {
        add(workload, sizes, [=](State &state, Size size) {
            for (auto _ : state) {
                state.PauseTiming();
                {
                    auto store = std::make_unique<Store>();
                    Calls calls;
                    prepare(store, calls, size);
                    state.ResumeTiming();
                    operation(store, calls, size);
                    state.PauseTiming();
                }
                state.ResumeTiming();
            }
        });
    }

    /// Bytes or allocations for each of \a count in the place of nanoseconds.
    void addMemory(const char *workload, qint64 (*used)(), Size size, int count)
    {
        const auto run = [=](State &state, Size) {
            for (auto _ : state) {
                Store store;
                feed(store, {100, 0});
                const qint64 before = used();
                feed(store, size);
                state.SetIterationTime(double(used() - before) * 1e-9 / count);
            }
        };
        add(workload, {size}, run)->UseManualTime()->Iterations(1);
    }

    const std::string name;
};

/// What a store answers and logs.
template <typename Store, int features>
QStringList answers()
{
    static QStringList log;
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &line) { log << line; });
    Store store;
    QStringList answers;
    QString uuid;
    feed(store, {45, 3});
    feedApps(store);
    store.setPolicyValue(poolUuids[7], itemUuids[22], VdiVM::PolicyType(3), 5, values[8]);
    store.setNodeValue(poolUuids[7], itemUuids[22], VdiVM::ItemNode, 204, QString::number(1));
    log.clear();
    if constexpr (features & Decisions) {
        store.dealVmPools();
        answers << QString::number(store.wheelVmGroup(QString::number(4), uuid)) << uuid << store.getAppsInfo().values()
                << log;
        store.removeNode(itemUuids[20]);
        store.removeNode(poolUuids[44]);
    }
    for (int i = 0; i < 44 * 3; ++i) {
        for (const int key : itemKeys)
            answers << store.getNodeValue(poolUuids[i / 3], itemUuids[i], VdiVM::ItemNode, key);
        for (const int key : {0, 3, 13, 100, 305, 306, 307, features & Decisions ? 308 : 309})
            answers << store.getPoolNodeValue(poolUuids[i / 3], key);
        answers << store.getPolicyValue(poolUuids[7], itemUuids[22], VdiVM::PolicyType(3), i)
                << store.getRemoteAppValue(appIds[i], 2 + i % 14);
        if constexpr (features & Decisions)
            answers << store.getParentUuid(itemUuids[i + 9]) << store.getParentUuid(poolUuids[i])
                    << QString::number(store.getItemTypeByUuid(itemUuids[i + 9]));
        if constexpr (features & Positions)
            answers << store.getItemUuid(i + 99) << QString::number(store.getItemType(i + 99))
                    << store.getRemoteAppId(i);
    }
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    return answers;
}

template <typename Store>
void addCompetitor(const char *name)
{
    if (answers<Store, Store::features>() != answers<Library, Store::features>())
        qFatal("%s answers otherwise than the library", name);
    Workloads<Store>{name};
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    addCompetitor<Library>("library");
    addCompetitor<BareMap>("QMap");
    addCompetitor<BareHash>("unordered_map");
    addCompetitor<LockedHash>("shared_mutex + unordered_map");
    addCompetitor<LockedVariants>("QReadWriteLock + QVariantMap");
    addCompetitor<Sqlite>("SQLite");
    benchmark::RunSpecifiedBenchmarks();
}
