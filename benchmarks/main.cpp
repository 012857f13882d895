// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "stores.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <array>
#include <map>
#include <random>

using benchmark::DoNotOptimize;
using benchmark::State;

// Qt does not allocate through operator new: counted is what everything goes through.
static thread_local qint64 allocations = 0;

extern "C" void *__libc_malloc(size_t);
extern "C" void *malloc(size_t size)
{
    ++allocations;
    return __libc_malloc(size);
}

static std::vector<QString> texts(const char *format, int count)
{
    std::vector<QString> texts;
    for (int i = 0; i < count; ++i) // the order of the texts is not that of their numbers
        texts.push_back(QString::asprintf(format, i * 2654435761U));
    return texts;
}

static const std::vector<QString> poolUuids = texts("5d1e8f36-42c7-4b09-a1d4-9f3e%08x", 100000);
static const std::vector<QString> itemUuids = texts("5d1e8f36-42c7-4b09-a1d4-7c20%08x", 100000);
static const std::vector<QString> appIds = texts("5d1e8f36-42c7-4b09-a1d4-11b6%08x", 1000);
static const std::vector<QString> values = texts("value %08x", 64);
static constexpr int itemKeys[] = {1, 3, 5, 6, 200, 201, 202, 203, 204, 205, 300, 301};

/// As a parser makes them: shared with nobody.
static QString parsed(const QString &text)
{
    return QString(text.constData(), text.size());
}
static QString parsed(int number)
{
    return QString::number(number);
}

struct Size
{
    int pools;
    int items;     // in each pool
    int group = 4; // pools in each group
};

template <typename Store>
void feed(Store &store, const Size &size)
{
    for (int pool = 0; pool < size.pools; ++pool) {
        const QString uuid = parsed(poolUuids[pool]);
        store.setPoolNodeValue(uuid, VdiVM::UuidKey, parsed(uuid));
        store.setPoolNodeValue(uuid, VdiVM::NameKey, parsed(values[pool % 64]));
        store.setPoolNodeValue(uuid, VdiVM::PoolTypeKey, parsed(pool % 9 ? 2 : 1));
        store.setPoolNodeValue(uuid, VdiVM::GroupKey, pool % 11 ? parsed(pool / size.group) : QString());
        store.setPoolNodeValue(uuid, VdiVM::PriorityKey, parsed(pool));
        store.setPoolNodeValue(uuid, VdiVM::FailedToConnectKey, parsed(pool % 3 == 0));
        store.setPoolNodeValue(uuid, VdiVM::AllowMultiDynamicKey, parsed(pool % 7 == 5));
        store.setPoolNodeValue(uuid, VdiVM::PreferredKey, parsed(pool % 5 == 0));
        for (int i = pool * size.items; i < (pool + 1) * size.items; ++i) {
            const QString item = parsed(itemUuids[i]);
            for (const int key : itemKeys)
                store.setNodeValue(uuid, item, VdiVM::ItemNode, key, parsed(values[(i + key) % 64]));
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

/// The workloads of one competitor.
template <typename Store>
class Workloads
{
    using Sizes = std::vector<Size>;
    using Benchmark = benchmark::internal::Benchmark;
    using Fresh = void (*)(Store &store, const Size &size);
    using Operation = void (*)(Store &store, int pool, int item, int key);

public:
    explicit Workloads(const std::string &competitor)
        : name('|' + competitor)
    {
        const Sizes small{{100, 100}}, both{{100, 100}, {10000, 10}};
        addOperation("read item", both, readItem);
        addOperation("overwrite item", both, writeItem);
        addOperation("read pool", both, [](Store &store, int pool, int, int) {
            DoNotOptimize(store.getPoolNodeValue(poolUuids[pool], VdiVM::NameKey));
        });
        addOperation("set policy", small, [](Store &store, int pool, int item, int key) {
            store.setPolicyValue(poolUuids[pool], itemUuids[item], VdiVM::PolicyType(key % 5), 7, parsed(values[1]));
        });
        addOperation("get policy", small, [](Store &store, int pool, int item, int key) {
            DoNotOptimize(store.getPolicyValue(poolUuids[pool], itemUuids[item], VdiVM::PolicyType(key % 5), 7));
        });
        addOperation("read application", small, [](Store &store, int, int item, int key) {
            DoNotOptimize(store.getRemoteAppValue(appIds[item % 1000], 2 + key % 12));
        });
        if constexpr (Store::features & Threads) {
            addOperation("two readers", small, readItem)->Threads(2)->UseRealTime();
            addOperation("reader and writer", small, readItem, writeItem)->Threads(2)->UseRealTime();
        }
        if constexpr (Store::features & Decisions) {
            addOperation("parent", {{1000, 10}, {1000, 100}},
                         [](Store &store, int, int item, int) { DoNotOptimize(store.getParentUuid(itemUuids[item])); });
            addOperation("deal", {{100, 1}, {1000, 1}, {10000, 1}, {100000, 1}},
                         [](Store &store, int, int, int) { store.dealVmPools(); });
            addOperation("wheel", {{10000, 0, 4}, {10000, 0, 64}, {10000, 0, 1024}}, [](Store &store, int, int, int) {
                QString uuid;
                store.wheelVmGroup(parsed(3), uuid);
            });
            addOperation("application summary", small,
                         [](Store &store, int, int, int) { DoNotOptimize(store.getAppsInfo()); });
        }
        if constexpr (Store::features & Positions) {
            addOperation("position", {{100, 100}, {1000, 10}}, [](Store &store, int, int item, int) {
                DoNotOptimize(store.getItemUuid(item));
                DoNotOptimize(store.getItemType(item));
            });
            addOperation("application position", small,
                         [](Store &store, int, int item, int) { DoNotOptimize(store.getRemoteAppId(item % 1000)); });
        }
        const auto clear = [](Store &store, const Size &) { store.clear(); };
        const auto nothing = [](Store &, const Size &) {};
        addFresh("feed", {{10, 10}, {100, 100}, {1000, 100}, {10000, 10}}, nothing, feed<Store>);
        addFresh("clear", small, feed<Store>, clear);
        addFresh("feed applications", small, nothing, [](Store &store, const Size &) { feedApps(store); });
        addMemory("bytes of an item", usedBytes, {100, 50}, 5000);
        addMemory("allocations for an item", usedAllocations, {100, 50}, 5000);
        addMemory("bytes of a pool", usedBytes, {1100, 0}, 1000);
        addMemory("allocations for a pool", usedAllocations, {1100, 0}, 1000);
    }

private:
    static qint64 usedBytes() { return qint64(mallinfo2().uordblks + mallinfo2().hblkhd); }
    static qint64 usedAllocations() { return allocations; }
    static void readItem(Store &store, int pool, int item, int key)
    {
        DoNotOptimize(store.getNodeValue(poolUuids[pool], itemUuids[item], VdiVM::ItemNode, key));
    }
    static void writeItem(Store &store, int pool, int item, int key)
    {
        store.setNodeValue(poolUuids[pool], itemUuids[item], VdiVM::ItemNode, key, parsed(values[key % 64]));
    }

    /// Registers \a run for all sizes but those that take this store minutes to fill.
    template <typename Run>
    Benchmark *add(const std::string &workload, const Sizes &sizes, Run run)
    {
        Benchmark *added = nullptr;
        for (const Size &size : sizes) {
            if (size.pools * size.items > 10000 && !(Store::features & Large))
                continue;
            std::string label = workload + ' ' + std::to_string(size.pools) + 'x' + std::to_string(size.items);
            label += size.group == 4 ? name : " by " + std::to_string(size.group) + name;
            added = benchmark::RegisterBenchmark(label.c_str(), run(size));
        }
        return added;
    }

    /// Fed once for all workloads that leave it as large as it is.
    static Store &scene(const Size &size)
    {
        static std::map<std::array<int, 3>, std::unique_ptr<Store>> scenes;
        static std::mutex mutex;
        const std::lock_guard lock(mutex);
        auto &store = scenes[{size.pools, size.items, size.group}];
        if (!store) {
            store = std::make_unique<Store>();
            feed(*store, size);
            feedApps(*store);
        }
        return *store;
    }

    /// Runs \a first at random items, and \a second in the second thread.
    Benchmark *addOperation(const char *workload, const Sizes &sizes, Operation first, Operation second = nullptr)
    {
        return add(workload, sizes, [=](const Size &size) {
            return [=](State &state) {
                Store &store = scene(size);
                const Operation operation = second && state.thread_index() == 1 ? second : first;
                std::mt19937 random(uint(state.thread_index()));
                std::vector<int> picks(1 << 16);
                for (int &pick : picks)
                    pick = int(random() % uint(qMax(1, size.pools * size.items)));
                size_t turn = 0;
                for (auto _ : state) {
                    const int item = picks[++turn % picks.size()];
                    operation(store, item / qMax(1, size.items), item, itemKeys[turn % 12]);
                }
            };
        });
    }

    void addFresh(const char *workload, const Sizes &sizes, Fresh prepare, Fresh operation)
    {
        add(workload, sizes, [=](const Size &size) {
            return [=](State &state) {
                for (auto _ : state) {
                    state.PauseTiming();
                    auto store = std::make_unique<Store>();
                    prepare(*store, size);
                    state.ResumeTiming();
                    operation(*store, size);
                    state.PauseTiming();
                    store->clear();
                    store.reset();
                    state.ResumeTiming();
                }
            };
        });
    }

    /// Bytes or allocations for each of \a count in the place of nanoseconds.
    void addMemory(const char *workload, qint64 (*used)(), const Size &size, int count)
    {
        const auto run = [=](const Size &) {
            return [=](State &state) {
                for (auto _ : state) {
                    Store store;
                    feed(store, {100, 0});
                    const qint64 before = used();
                    feed(store, size);
                    state.SetIterationTime(double(used() - before) * 1e-9 / count);
                    store.clear();
                }
            };
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
    feed(store, {44, 3});
    feedApps(store);
    store.setPolicyValue(poolUuids[7], itemUuids[22], VdiVM::PolicyType(3), 5, values[8]);
    store.setNodeValue(poolUuids[7], itemUuids[22], VdiVM::ItemNode, 204, parsed(1));
    log.clear();
    if constexpr (features & Decisions) {
        store.dealVmPools();
        answers << QString::number(store.wheelVmGroup(parsed(4), uuid)) << uuid;
        answers << store.getAppsInfo().keys() << store.getAppsInfo().values();
        log.sort(); // without an order of pools there is none of lines
        answers << log;
    }
    for (int i = 0; i < 44 * 3; ++i) {
        for (const int key : itemKeys)
            answers << store.getNodeValue(poolUuids[i / 3], itemUuids[i], VdiVM::ItemNode, key);
        for (const int key : {0, 3, 13, 100, 305, 306, 307, 309})
            answers << store.getPoolNodeValue(poolUuids[i / 3], key);
        answers << store.getPolicyValue(poolUuids[7], itemUuids[22], VdiVM::PolicyType(3), i);
        answers << store.getRemoteAppValue(appIds[i], 2 + i % 14);
        if constexpr (features & Decisions)
            answers << store.getPoolNodeValue(poolUuids[i / 3], 308) << store.getParentUuid(itemUuids[i + 9])
                    << store.getParentUuid(poolUuids[i]);
        if constexpr (features & Positions)
            answers << store.getItemUuid(i + 99) << parsed(store.getItemType(i + 99)) << store.getRemoteAppId(i);
    }
    store.clear();
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    return answers;
}

template <typename Store>
void addCompetitor(const char *name, const char *wanted)
{
    if (wanted && qstrcmp(name, wanted) != 0)
        return;
    if (answers<Store, Store::features>() != answers<Library, Store::features>())
        qFatal("%s answers otherwise than the library", name);
    Workloads<Store>{name};
}

/// Runs the workloads of all competitors, or of the one that the first argument names: each has a heap of its own then.
int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    const char *wanted = argc > 1 ? argv[1] : nullptr;
    addCompetitor<Library>("library", wanted);
    addCompetitor<BareMap>("QMap", wanted);
    addCompetitor<BareHash>("unordered_map", wanted);
    addCompetitor<LockedHash>("shared_mutex + unordered_map", wanted);
    addCompetitor<LockedVariants>("QReadWriteLock + QVariantMap", wanted);
    addCompetitor<Sqlite>("SQLite", wanted);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
