// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include <vmdatabase/remoteapp.h>
#include <vmdatabase/vmdatabase.h>
#include <vmdatabase/vmpoolnode.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

constexpr int rounds = 10000;

class tst_Threads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void values();
    void applications();
    void decisions();
    void removal();
};

// What a thread made and removed goes with its event loop; these threads had none, and have ended.
void tst_Threads::cleanup()
{
    runDeferredDeletions();
    qDeleteAll(LiveObjects::ofType<VmPoolNode>());
    qDeleteAll(LiveObjects::ofType<RemoteApp>());
}

// Runs each function rounds times in a thread of its own; all start at once.
static void together(const std::vector<std::function<void(int)>> &functions)
{
    std::atomic<size_t> waiting{functions.size()};
    std::vector<std::thread> threads;
    for (const auto &function : functions) {
        threads.emplace_back([&] {
            --waiting;
            while (waiting > 0)
                std::this_thread::yield();
            for (int round = 0; round < rounds; ++round)
                function(round);
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}

static const auto p = u"p"_s;
static const auto i = u"i"_s;

void tst_Threads::values()
{
    LogCapture log;
    VmDatabase db;
    db.setNodeValue(p, i, VdiVM::ItemNode, 3, u"0"_s); // made beforehand, as the contract asks
    std::atomic<int> torn{0};
    const auto check = [&torn](const QString &text) { torn += !text.isEmpty() && text.count(text[0]) != text.size(); };
    const auto writer = [&](QChar letter) {
        return [&db, letter](int round) {
            const QString text(1 + round % 40, letter);
            db.setNodeValue(p, i, VdiVM::ItemNode, round % 8 + 1, text);
            db.setPoolNodeValue(p, round % 8 + 1, text);
            db.setPolicyValue(p, i, VdiVM::PolicyType(3), round % 8, text);
            if (round % 16 == 0)
                db.resetNodeValue(p, i, VdiVM::ItemNode, round % 8 + 1);
        };
    };
    const auto reader = [&](int round) {
        check(db.getNodeValue(p, i, VdiVM::ItemNode, round % 8 + 1));
        check(db.getPoolNodeValue(p, round % 8 + 1));
        check(db.getPolicyValue(p, i, VdiVM::PolicyType(3), round % 8));
        torn += db.getItemCount() != 2 || db.getItemUuid(0) != i;
    };
    together({writer(u'a'), writer(u'b'), reader, reader});
    QCOMPARE(torn, 0);
    QCOMPARE(db.getItemCount(), 2);
}

void tst_Threads::applications()
{
    LogCapture log;
    VmDatabase db;
    std::atomic<int> tooMany{0};
    const auto remote = [&db](const QString &prefix) {
        return [&db, prefix](int round) {
            db.setRemoteAppValue(prefix + QString::number(round % 50), 10, QString::number(round));
            db.getRemoteAppValue(prefix + QString::number(round % 60), 10);
            db.getRemoteAppId(round % 100);
        };
    };
    const auto saas = [&db](const QString &prefix) {
        return [&db, prefix](int round) {
            db.setSaasAppValue(prefix + QString::number(round % 50), 10, QString::number(round));
            db.getSaasAppValue(prefix + QString::number(round % 60), 10);
            db.getSaasAppId(round % 100);
        };
    };
    together({remote(u"a"_s), remote(u"b"_s), saas(u"a"_s), saas(u"b"_s),
              [&](int) { tooMany += db.getAppCount() > 100 || db.getSaasAppCount() > 100; }});
    QCOMPARE(tooMany, 0);
    QCOMPARE(db.getAppCount(), 100);
    QCOMPARE(db.getSaasAppCount(), 100);
    for (int app = 0; app < 50; ++app) {
        QCOMPARE(db.getRemoteAppValue(u"a"_s + QString::number(app), 10), QString::number(rounds - 50 + app));
        QCOMPARE(db.getSaasAppValue(u"b"_s + QString::number(app), 10), QString::number(rounds - 50 + app));
    }
    db.clearRemoteAppList();
}

void tst_Threads::decisions()
{
    LogCapture log;
    VmDatabase db;
    for (int pool = 0; pool < 4; ++pool) {
        db.setPoolNodeValue(p + QString::number(pool), 307, u"g"_s);
        db.setNodeValue(p + QString::number(pool), i, VdiVM::ItemNode, 204, u"0"_s);
    }
    const auto wheel = [&db](int round) {
        QString uuid;
        if (round % 20 == 0)
            db.wheelVmGroup(u"g"_s, uuid);
    };
    const auto deal = [&db](int round) {
        if (round % 20 == 0)
            db.dealVmPools();
    };
    const auto feed = [&db](int round) {
        const QString pool = p + QString::number(round % 4);
        db.setPoolNodeValue(pool, 305, QString::number(round % 7));
        db.setPoolNodeValue(pool, 306, QString::number(round % 2));
        db.setNodeValue(pool, i, VdiVM::ItemNode, 204, QString::number(round % 3));
    };
    together({wheel, wheel, deal, feed});
    for (int pool = 0; pool < 4; ++pool) {
        db.setPoolNodeValue(p + QString::number(pool), 305, QString::number(pool));
        db.setPoolNodeValue(p + QString::number(pool), 306, u"0"_s);
    }
    QString uuid;
    QVERIFY(db.wheelVmGroup(u"g"_s, uuid));
    QCOMPARE(uuid, u"p3"_s);
    for (int pool = 0; pool < 4; ++pool)
        QCOMPARE(db.getPoolNodeValue(p + QString::number(pool), 308), pool == 3 ? u"0"_s : u"1"_s);
}

// Pools come and go under the lock while others walk the table under it.
void tst_Threads::removal()
{
    LogCapture log;
    VmDatabase db;
    db.setPoolNodeValue(u"stays"_s, 4, u"s"_s);
    std::atomic<int> wrong{0};
    const auto comeAndGo = [&](const QString &name) {
        return [&db, name](int round) {
            db.setPoolNodeValue(name, 4, name);
            if (round % 2)
                db.removeNode(name);
            else
                db.removeNodesByServerIp(name);
        };
    };
    const auto walk = [&](int) {
        const int count = db.getItemCount();
        wrong += count < 1 || count > 3;
        wrong += db.getItemCountByServerIp(u"s"_s) != 1;
        wrong += db.getItemTypeByUuid(u"stays"_s) != 1;
        wrong += db.getParentUuid(u"stays"_s) != u"stays"_s;
    };
    together({comeAndGo(u"a"_s), comeAndGo(u"b"_s), walk, walk});
    QCOMPARE(wrong, 0);
    QCOMPARE(db.getVmPoolNameList(), QStringList(u"stays"_s));
}

QTEST_GUILESS_MAIN(tst_Threads)
#include "tst_threads.moc"
