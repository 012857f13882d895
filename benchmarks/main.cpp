// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "stores.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <atomic>
#include <map>
#include <random>

using benchmark::DoNotOptimize;
using benchmark::State;

// The memory that is asked for while anybody counts, Qt's included: it does not go through operator new.
static std::atomic<bool> counting{false};
static std::atomic<qint64> allocations{0}, bytes{0};

static void *counted(void *memory)
{
    if (memory && counting) {
        ++allocations;
        bytes += qint64(malloc_usable_size(memory));
    }
    return memory;
}

extern "C" {
void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void *__libc_realloc(void *, size_t);
void __libc_free(void *);

void *malloc(size_t size)
{
    return counted(__libc_malloc(size));
}
void *calloc(size_t count, size_t size)
{
    return counted(__libc_calloc(count, size));
}
void free(void *memory)
{
    if (memory && counting)
        bytes -= qint64(malloc_usable_size(memory));
    __libc_free(memory);
}
void *realloc(void *memory, size_t size)
{
    if (memory && counting)
        bytes -= qint64(malloc_usable_size(memory));
    return counted(__libc_realloc(memory, size));
}
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

template <typename Store>
void feed(Store &store, int pools, int items, int groupSize = 4)
{
    for (int pool = 0; pool < pools; ++pool) {
        const QString uuid = parsed(poolUuids[pool]);
        store.setPoolNodeValue(uuid, VdiVM::UuidKey, parsed(uuid));
        store.setPoolNodeValue(uuid, VdiVM::NameKey, parsed(values[pool % 64]));
        store.setPoolNodeValue(uuid, VdiVM::PoolTypeKey, parsed(pool % 9 ? 2 : 1));
        store.setPoolNodeValue(uuid, VdiVM::GroupKey, pool % 11 ? parsed(pool / groupSize) : QString());
        store.setPoolNodeValue(uuid, VdiVM::PriorityKey, parsed(pool));
        store.setPoolNodeValue(uuid, VdiVM::FailedToConnectKey, parsed(pool % 3 == 0));
        store.setPoolNodeValue(uuid, VdiVM::AllowMultiDynamicKey, parsed(pool % 7 == 5));
        store.setPoolNodeValue(uuid, VdiVM::PreferredKey, parsed(pool % 5 == 0));
        for (int i = pool * items; i < (pool + 1) * items; ++i) {
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

/// One competitor's workloads. Those at random run \a operation(store, pool, item, key), the others operation(store).
template <typename Store>
class Workloads
{
    using Sizes = std::vector<std::vector<int64_t>>; // pools, items in each, pools in a group

public:
    static void add(const std::string &competitor)
    {
        name = '|' + competitor;
        const Sizes small{{100, 100, 4}}, both{{100, 100, 4}, {10000, 10, 4}};
        const auto feedIt = [](Store &store, State &state) { feed(store, int(state.range(0)), int(state.range(1))); };
        const auto clear = [](Store &store, State &) { store.clear(); };
        addFresh(
            "feed", {{10, 10}, {100, 100}, {1000, 100}, {10000, 10}}, [](Store &, State &) {}, feedIt, clear);
        addFresh("clear", {{100, 100}}, feedIt, clear, [](Store &, State &) {});
        addFresh(
            "feed applications", {{0, 0}}, [](Store &, State &) {}, [](Store &store, State &) { feedApps(store); },
            clear);
        addAtRandom("read item", both, readItem);
        addAtRandom("overwrite item", both, writeItem);
        addAtRandom("read pool", both, [](Store &store, int pool, int, int) {
            DoNotOptimize(store.getPoolNodeValue(poolUuids[pool], VdiVM::NameKey));
        });
        addAtRandom("set policy", small, [](Store &store, int pool, int item, int key) {
            store.setPolicyValue(poolUuids[pool], itemUuids[item], VdiVM::PolicyType(item % 5), key, parsed(values[1]));
        });
        addAtRandom("get policy", small, [](Store &store, int pool, int item, int key) {
            DoNotOptimize(store.getPolicyValue(poolUuids[pool], itemUuids[item], VdiVM::PolicyType(item % 5), key));
        });
        addAtRandom("read application", small, [](Store &store, int, int item, int key) {
            DoNotOptimize(store.getRemoteAppValue(appIds[item % 1000], 2 + key % 12));
        });
        if constexpr (Store::features & Threads) {
            addAtRandom("two readers", small, readItem)->Threads(2)->UseRealTime();
            addAtRandom("reader and writer", small, readItem, writeItem)->Threads(2)->UseRealTime();
        }
        if constexpr (Store::features & Decisions) {
            addAtRandom("parent", {{1000, 10, 4}, {1000, 100, 4}},
                        [](Store &store, int, int item, int) { DoNotOptimize(store.getParentUuid(itemUuids[item])); });
            addInTurn("deal", {{100, 1, 4}, {1000, 1, 4}, {10000, 1, 4}, {100000, 1, 4}},
                      [](Store &store, int) { store.dealVmPools(); });
            addInTurn("wheel", {{10000, 0, 4}, {10000, 0, 64}, {10000, 0, 1024}}, [](Store &store, int) {
                QString uuid;
                store.wheelVmGroup(parsed(3), uuid);
            });
            addInTurn("summary", small, [](Store &store, int) { DoNotOptimize(store.getAppsInfo()); });
        }
        if constexpr (Store::features & Positions) {
            addInTurn("position", {{100, 100, 4}, {1000, 10, 4}}, [](Store &store, int turn) {
                DoNotOptimize(store.getItemUuid(turn % 10000));
                DoNotOptimize(store.getItemType(turn % 10000));
            });
            addInTurn("application position", small,
                      [](Store &store, int turn) { DoNotOptimize(store.getRemoteAppId(turn % 1000)); });
        }
        addMemory("memory of an item", "allocations for an item", 50);
        addMemory("memory of a pool", "allocations for a pool", 0);
    }

private:
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
    static auto addSizes(const char *workload, const Sizes &sizes, Run run)
    {
        auto *added = benchmark::RegisterBenchmark((workload + name).c_str(), run);
        for (const auto &size : sizes) {
            if (size[0] * size[1] <= 10000 || Store::features & Large)
                added->Args(size);
        }
        return added;
    }

    /// Fed once for all workloads that leave it as large as it is.
    static Store &scene(const State &state)
    {
        static std::map<std::vector<int>, std::unique_ptr<Store>> scenes;
        static std::mutex mutex;
        const std::lock_guard locker(mutex);
        const std::vector<int> size{int(state.range(0)), int(state.range(1)), int(state.range(2))};
        auto &store = scenes[size];
        if (!store) {
            store = std::make_unique<Store>();
            feed(*store, size[0], size[1], size[2]);
            feedApps(*store);
        }
        return *store;
    }

    template <typename Before, typename Timed, typename After>
    static void addFresh(const char *workload, const Sizes &sizes, Before before, Timed timed, After after)
    {
        addSizes(workload, sizes, [=](State &state) {
            for (auto _ : state) {
                state.PauseTiming();
                Store store;
                before(store, state);
                state.ResumeTiming();
                timed(store, state);
                state.PauseTiming();
                after(store, state);
                state.ResumeTiming();
            }
        });
    }

    template <typename Operation>
    static void addInTurn(const char *workload, const Sizes &sizes, Operation operation)
    {
        addSizes(workload, sizes, [=](State &state) {
            Store &store = scene(state);
            int turn = 0;
            for (auto _ : state)
                operation(store, turn++);
        });
    }

    using Operation = void (*)(Store &store, int pool, int item, int key);

    /// With \a second for the second thread.
    static auto addAtRandom(const char *workload, const Sizes &sizes, Operation first, Operation second = nullptr)
    {
        return addSizes(workload, sizes, [=](State &state) {
            Store &store = scene(state);
            const int items = int(state.range(1));
            std::mt19937 random(uint(state.thread_index()));
            std::vector<int> picks(1 << 16);
            for (int &pick : picks)
                pick = int(random() % uint(state.range(0) * items));
            const Operation operation = second && state.thread_index() == 1 ? second : first;
            size_t turn = 0;
            for (auto _ : state) {
                const int item = picks[++turn % picks.size()];
                operation(store, item / items, item, itemKeys[turn % 12]);
            }
        });
    }

    /// Bytes, and a second time allocations, in the place of nanoseconds.
    static void addMemory(const char *ofBytes, const char *ofAllocations, int items)
    {
        for (auto [workload, counted] : {std::pair(ofBytes, &bytes), std::pair(ofAllocations, &allocations)}) {
            addSizes(workload, {{100, items}},
                     [=, counter = counted](State &state) {
                         for (auto _ : state) {
                             Store store;
                             feed(store, 100, 0);
                             bytes = allocations = 0;
                             counting = true;
                             feed(store, items ? 100 : 1100, items);
                             counting = false;
                             state.SetIterationTime(double(*counter) * 1e-9 / (items ? 100 * items : 1000));
                             store.clear();
                         }
                     })
                ->UseManualTime()
                ->Iterations(1);
        }
    }

    static inline std::string name;
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
    feed(store, 44, 3);
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
void addStore(const char *name)
{
    // Each competitor against the library as far as it goes.
    if (answers<Store, Store::features>() != answers<Library, Store::features>())
        qFatal("%s answers otherwise than the library", name);
    Workloads<Store>::add(name);
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    addStore<Library>("library");
    addStore<BareMap>("QMap");
    addStore<BareHash>("unordered_map");
    addStore<LockedHash>("shared_mutex + unordered_map");
    addStore<LockedVariants>("QReadWriteLock + QVariantMap");
    addStore<Sqlite>("SQLite");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
