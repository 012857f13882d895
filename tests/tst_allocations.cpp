// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include <vmdatabase/private/vmdatabase_p.h>
#include <vmdatabase/vmpoolnode.h>

#include <cstdlib>
#include <new>

// Every allocation of the program goes through malloc(), Qt's too: one of them can be made to fail. What goes through
// operator delete can be watched.
static thread_local int untilFailure = -1;
static std::vector<void *> *released = nullptr;

extern "C" void *__libc_malloc(size_t size);
extern "C" [[gnu::weak]] void *__interceptor_malloc(size_t size); // AddressSanitizer's
extern "C" [[gnu::no_sanitize_address]] void *malloc(size_t size) noexcept
{
    if (untilFailure >= 0 && untilFailure-- == 0)
        return nullptr;
    return __interceptor_malloc ? __interceptor_malloc(size) : __libc_malloc(size);
}
extern "C" const char *__asan_default_options()
{
    return "detect_leaks=0"; // an object under construction may stay when memory runs out
}

void *operator new(size_t size)
{
    if (void *memory = malloc(size))
        return memory;
    throw std::bad_alloc();
}
void operator delete(void *memory) noexcept
{
    if (released)
        released->push_back(memory);
    free(memory);
}
void operator delete(void *memory, size_t) noexcept
{
    operator delete(memory);
}

class tst_Allocations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyFailure();
    void releasedPolicies();
};

static const auto p = u"p"_s, q = u"q"_s, i = u"i"_s, j = u"j"_s, a = u"a"_s, b = u"b"_s, x = u"x"_s;

// What is listed (by the map) but not found (by its index), or the reverse; empty if they agree.
static QString difference(VmDatabasePrivate &store)
{
    for (const QString &uuid : {p, q}) {
        if (store.getVmPoolNameList().contains(uuid) != (store.getItemTypeByUuid(uuid) == VdiVM::PoolNode))
            return u"pool "_s + uuid;
    }
    const QList<VmPoolNode *> pools = store.getPoolNodeList();
    for (VmPoolNode *pool : pools) {
        if (pool->getItemCount() != 1 + pool->isExistVmItem(i) + pool->isExistVmItem(j))
            return u"items of "_s + pool->getValue(0);
    }
    for (const QString &id : {a, b}) {
        if (store.getAppNames().contains(id) != (store.getRemoteAppValueByName(id, 1) == id))
            return u"application "_s + id;
    }
    return {};
}

// Whichever allocation of an operation fails, map and index stay equal, no lock stays held, and the operation works when
// it is called again.
void tst_Allocations::everyFailure()
{
    static const struct
    {
        const char *name;
        void (*run)(VmDatabasePrivate &store);
    } operations[] = {
        {"getVmPool", [](auto &store) { store.getVmPool(q); }},
        {"setNodeValue", [](auto &store) { store.setNodeValue(p, j, VdiVM::ItemNode, 3, x); }},
        {"setNodeValue, pool and item", [](auto &store) { store.setNodeValue(q, j, VdiVM::ItemNode, 3, x); }},
        {"setPolicyValue", [](auto &store) { store.setPolicyValue(p, j, VdiVM::PolicyType(0), 3, x); }},
        {"setRemoteAppValue", [](auto &store) { store.setRemoteAppValue(b, 3, x); }},
        {"setSaasAppValue", [](auto &store) { store.setSaasAppValue(b, 3, x); }},
        {"deleteRemoteApp", [](auto &store) { store.deleteRemoteApp(a); }},
        {"clearRemoteAppList", [](auto &store) { store.clearRemoteAppList(); }},
        {"clearVmPoolList", [](auto &store) { store.clearVmPoolList(); }},
        {"removeNode, a pool", [](auto &store) { store.removeNode(p); }},
        {"removeNode, an item", [](auto &store) { store.removeNode(i); }},
        {"removeNodesByServerIp", [](auto &store) { store.removeNodesByServerIp(QString()); }},
        {"removeChildrenByParentUuid", [](auto &store) { store.removeChildrenByParentUuid(p); }},
    };
    for (const auto &operation : operations) {
        bool failed = true;
        for (int n = 0; failed; ++n) {
            VmDatabasePrivate store;
            store.setNodeValue(p, i, VdiVM::ItemNode, 3, x);
            store.setRemoteAppValue(a, 3, x);
            untilFailure = n;
            try {
                operation.run(store);
            } catch (const std::bad_alloc &) {
            }
            failed = std::exchange(untilFailure, -1) < 0;
            const QByteArray place = operation.name + QByteArray(", allocation ") + QByteArray::number(n) + ": ";
            QVERIFY2(difference(store).isEmpty(), place + difference(store).toUtf8());
            QVERIFY2(qstrcmp(operation.name, "deleteRemoteApp") != 0 || store.getAppNames().isEmpty(),
                     place + "an application stays listed that will be deleted");
            operation.run(store);
            QVERIFY2(difference(store).isEmpty(), place + "again: " + difference(store).toUtf8());
            runDeferredDeletions();
        }
    }
}

// An item releases its records in this order; that of type 10 stays allocated.
void tst_Allocations::releasedPolicies()
{
    auto *item = new VmItemNode(nullptr);
    QHash<void *, int> types;
    for (int type = 0; type <= 10; ++type)
        types[item->getVmPolicy(type)] = type;
    types.remove(nullptr);
    const std::unique_ptr<VmPolicy> left(item->getVmPolicy(10));
    std::vector<void *> memory;
    memory.reserve(1000);
    released = &memory;
    delete item;
    released = nullptr;
    QList<int> order;
    for (void *block : memory) {
        if (types.contains(block))
            order << types[block];
    }
    QCOMPARE(order, QList<int>({0, 1, 2, 3, 7, 4, 6, 8, 9}));
}

QTEST_GUILESS_MAIN(tst_Allocations)
#include "tst_allocations.moc"
