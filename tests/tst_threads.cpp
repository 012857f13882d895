// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include <vmdatabase/private/vmdatabase_p.h>
#include <vmdatabase/vmdatabase.h>
#include <vmdatabase/vmitemnode.h>
#include <vmdatabase/vmpolicy.h>

#include <QtTest/QtTest>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

constexpr int rounds = 10000;

// What the headers allow to happen at once. ThreadSanitizer says whether it was free of races, the values left behind
// whether it was right. In their rounds the threads share no lock but the library's: another one would hide races.
class tst_Threads : public QObject
{
    Q_OBJECT

    std::atomic<int> wrongLine{0};
    void check(bool right, int line = __builtin_LINE())
    {
        if (!right) // and nothing otherwise: a write would synchronise the threads
            wrongLine = line;
    }

    // Every uuid, id and value is a number. Values that each round writes to one of fifty places by turns fit in there.
    static QString text(int number) { return QString::number(number); }
    static bool fits(const QString &value, int round) { return value.isEmpty() || value.toInt() % 50 == round % 50; }

    // Runs each step(thread, round) in a thread of its own; all start at once. When they are through, look() checks
    // what came of it, and then each thread deletes what it has made and others have removed.
    void together(const std::vector<std::function<void(int, int)>> &steps, const std::function<void()> &look)
    {
        qInstallMessageHandler([](auto, auto &, auto &) {});
        std::atomic<size_t> arrived{0};
        const auto meet = [&](size_t count) {
            for (++arrived; arrived < count;)
                std::this_thread::yield();
        };
        std::vector<std::thread> threads;
        for (size_t thread = 0; thread < steps.size(); ++thread) {
            threads.emplace_back([&, thread] {
                meet(steps.size());
                for (int round = 0; round < rounds; ++round) {
                    steps[thread](int(thread), round);
                    cleanup();
                }
                meet(2 * steps.size() + 1);
                cleanup();
            });
        }
        while (arrived < 2 * steps.size())
            QThread::msleep(1);
        look();
        ++arrived;
        for (std::thread &thread : threads)
            thread.join();
        if (const int line = wrongLine.exchange(0))
            QTest::qFail("The check in this line was wrong.", __FILE__, line);
    }

private Q_SLOTS:
    void cleanup()
    {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::sendPostedEvents(); // else its spent entries stay in Qt's queue
    }

    // Values and decisions, in four pools with an item each that are made beforehand, as the contract asks.
    void values()
    {
        std::vector<std::unique_ptr<VmPolicy>> left; // the records that the items leave behind
        VmPolicy policy;
        VmDatabase db;
        db.setRemoteAppValue(text(0), 10, text(0));
        for (int pool = 0; pool < 4; ++pool) {
            db.setPoolNodeValue(text(pool), 307, text(0));
            db.setNodeValue(text(pool), text(0), VdiVM::ItemNode, 204, text(0));
            auto *store = reinterpret_cast<VmDatabasePrivate **>(&db + 1)[-1]; // the only member
            left.emplace_back(static_cast<VmItemNode *>(store->getItemList()[2 * pool])->getVmPolicy(10));
        }
        const auto feed = [&](int, int round) {
            db.setNodeValue(text(0), text(0), VdiVM::ItemNode, round % 50, text(round));
            db.setPoolNodeValue(text(0), round % 50 + 1000, text(round));
            db.setPolicyValue(text(0), text(0), VdiVM::PolicyType(3), round % 50, text(round));
            db.setRemoteAppValue(text(0), round % 50 + 11, text(round));
            policy.setValue(round % 50, text(round));
            for (int flag : {305, 306, 309})
                db.setPoolNodeValue(text(round % 4), flag, text(round % flag % 3));
            db.setNodeValue(text(round % 4), text(0), VdiVM::ItemNode, 204, text(round % 3));
        };
        const auto read = [&](int, int round) {
            check(fits(db.getNodeValue(text(0), text(0), VdiVM::ItemNode, round % 50), round));
            check(fits(db.getPoolNodeValue(text(0), round % 50 + 1000), round));
            check(fits(db.getPolicyValue(text(0), text(0), VdiVM::PolicyType(3), round % 50), round));
            check(fits(db.getAppsInfo()[text(0)], 0) && fits(policy.getValue(round % 50), round));
            if (round % 50 == 0)
                db.printDatabase();
        };
        const auto decide = [&](int, int round) {
            QString uuid;
            policy.clear();
            if (round % 20 == 0)
                db.dealVmPools();
            if (round % 20 == 10)
                check(db.wheelVmGroup(text(0), uuid) != uuid.isEmpty());
        };
        together({feed, feed, read, decide, decide}, [&] {
            for (int round = rounds - 50; round < rounds; ++round) {
                check(db.getNodeValue(text(0), text(0), VdiVM::ItemNode, round % 50) == text(round));
                check(db.getPoolNodeValue(text(0), round % 50 + 1000) == text(round));
                check(db.getPolicyValue(text(0), text(0), VdiVM::PolicyType(3), round % 50) == text(round));
            }
            QString uuid;
            db.setPoolNodeValue(text(3), 306, text(0));
            check(db.wheelVmGroup(text(0), uuid) && db.getPoolNodeValue(uuid, 308) == text(0));
        });
        db.clearRemoteAppList();
    }

    // Two threads add a thousand ids each to three tables; the first clears all remote applications at times.
    void additions()
    {
        VmDatabasePrivate store;
        const auto feed = [&](int thread, int round) {
            const QString id = text(1000 * thread + round % 1000);
            if (thread == 0 && round % 3000 == 0)
                store.clearRemoteAppList();
            store.setRemoteAppValue(id, 10, text(round));
            store.setSaasAppValue(id, 10, text(round));
            store.setPoolNodeValue(id, 10, text(round));
        };
        const auto read = [&](int, int round) {
            const QString id = text(1000 * (round % 2) + round % 50);
            check(fits(store.getRemoteAppValue(id, 10), round) && fits(store.getSaasAppValue(id, 10), round));
            check(fits(store.getRemoteAppValueByName(id, 10), round) && store.getItemType(round % 100) < 2);
            check(store.getRemoteAppId(round % 100).size() < 5 && store.getSaasAppId(round % 100).size() < 5);
            check(store.getAppCount() <= 2000 && store.getSaasAppCount() <= 2000);
        };
        together({feed, feed, read, read}, [&] {
            for (int app = 0; app < 1000; ++app) {
                check(store.getRemoteAppValue(text(app), 10) == text(rounds - 1000 + app));
                check(store.getSaasAppValue(text(1000 + app), 10) == text(rounds - 1000 + app));
            }
            check(store.getSaasAppCount() == 2000 && store.getItemCount() == 2000);
            store.clearRemoteAppList();
            store.clearVmPoolList();
        });
    }

    // Pools come and go while others walk the table.
    void removal()
    {
        VmDatabasePrivate store;
        const auto comeAndGo = [&](int thread, int round) {
            store.getVmPool(text(thread));
            store.removeNode(text(round % 2));
            store.removeNodesByServerIp(round % 3 ? text(4) : QString());
            if (round % 16 == 0)
                store.clearVmPoolList();
        };
        const auto walk = [&](int, int) {
            check(store.getItemCount() <= 2 && store.getItemCountByServerIp(text(4)) == 0);
            check(store.getItemTypeByUuid(text(2)) == 0 && store.getParentUuid(text(2)).isEmpty());
            check(store.getUuidByParentUuid(text(0)).isEmpty() && store.getItemList().size() <= 2);
            check(store.getVmPoolListByGroup(text(9))->isEmpty() && store.getGroupedVmPool().isEmpty());
        };
        together({comeAndGo, comeAndGo, walk, walk}, [&] { store.clearVmPoolList(); });
    }
};

QTEST_GUILESS_MAIN(tst_Threads)
#include "tst_threads.moc"
