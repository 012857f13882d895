// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include <vmdatabase/private/vmdatabase_p.h>
#include <vmdatabase/remoteapp.h>
#include <vmdatabase/vmdatabase.h>

#include <QtCore/QThread>

class tst_Apps : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { runDeferredDeletions(); }

    void remoteValues();
    void recordlessIds();
    void controlPolicy();
    void remoteRemoval();
    void signalCounts();
    void signalInAnotherThread();
    void saasValues();
    void saasRemoval();
    void summary();
    void keyNames();
};

// Both tables, where they are alike.
template <typename Set, typename Get, typename Id>
static void checkTable(Set set, Get get, Id id)
{
    QVERIFY(isEmptyNotNull(id(0)));
    set(u"b"_s, 10, u"Editor"_s);
    set(u"a"_s, 10, u"Mail"_s);
    set(u"B"_s, 3, u""_s); // a record all the same
    QCOMPARE(id(0), u"B"_s);
    QCOMPARE(id(1), u"a"_s);
    QCOMPARE(id(2), u"b"_s);
    for (const int outside : {3, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
        QVERIFY(isEmptyNotNull(id(outside)));
    QCOMPARE(get(u"b"_s, 10), u"Editor"_s);
    set(u"b"_s, 10, u""_s);
    QCOMPARE(get(u"b"_s, 10), u"Editor"_s);
    set(u"b"_s, 10, u"Text"_s);
    QCOMPARE(get(u"b"_s, 10), u"Text"_s);
    QVERIFY(isEmptyNotNull(get(u"b"_s, 11)));
}

void tst_Apps::remoteValues()
{
    LogCapture log;
    VmDatabase db;
    QCOMPARE(db.getAppCount(), 0);
    checkTable([&](auto... a) { db.setRemoteAppValue(a...); }, [&](auto... a) { return db.getRemoteAppValue(a...); },
               [&](int index) { return db.getRemoteAppId(index); });
    QCOMPARE(db.getAppCount(), 3);
    QCOMPARE(db.getAppNames(), QStringList({u"B"_s, u"a"_s, u"b"_s}));
    QCOMPARE(db.getRemoteAppValue(u"b"_s, 1), u"b"_s);
    QCOMPARE(db.getRemoteAppValue(u"B"_s, 1), u"B"_s);
    db.setRemoteAppValue(u"c"_s, 1, u"other"_s); // the id first, then the value
    db.setRemoteAppValue(u"d"_s, 1, QString());
    QCOMPARE(db.getRemoteAppValue(u"c"_s, 1), u"other"_s);
    QCOMPARE(db.getRemoteAppValue(u"d"_s, 1), u"d"_s);
    QCOMPARE(log.take(), QStringList());
    QVERIFY(isEmptyNotNull(db.getRemoteAppValue(u"x"_s, 3)));
    QCOMPARE(log.take(), QStringList(u"I: Error couldn't find  \"x\" , keys:  (\"B\", \"a\", \"b\", \"c\", \"d\")"_s));
    db.clearRemoteAppList();
    db.getRemoteAppValue(u"x"_s, 3);
    QCOMPARE(log.take(), QStringList(u"I: Error couldn't find  \"x\" , keys:  ()"_s));

    VmDatabasePrivate store;
    store.setRemoteAppValue(u"a"_s, 3, u"v"_s);
    store.getRemoteAppControlPolicy(u"n"_s);
    QCOMPARE(store.getRemoteAppValueByName(u"a"_s, 3), u"v"_s);
    QVERIFY(isEmptyNotNull(store.getRemoteAppValueByName(u"a"_s, 4)));
    QVERIFY(isNull(store.getRemoteAppValueByName(u"x"_s, 3)));
    QVERIFY(isNull(store.getRemoteAppValueByName(u"n"_s, 3)));
    QCOMPARE(log.take(), QStringList());
    store.clearRemoteAppList();
}

void tst_Apps::recordlessIds()
{
    LogCapture log;
    VmDatabase db;
    db.setRemoteAppControlPolicy(u"set"_s, {{u"a"_s, 1}});
    QVERIFY(db.getRemoteAppControlPolicy(u"get"_s).isEmpty());
    QVERIFY(db.getRemoteAppControlPolicy(u"set"_s).isEmpty());
    QCOMPARE(db.getAppCount(), 2);
    QCOMPARE(db.getAppNames(), QStringList({u"get"_s, u"set"_s}));
    QCOMPARE(db.getAppsIdList(), db.getAppNames());
    QCOMPARE(db.getRemoteAppId(1), u"set"_s);
    QVERIFY(db.getAppsInfo().isEmpty());
    QCOMPARE(log.take(), QStringList());
    QVERIFY(isEmptyNotNull(db.getRemoteAppValue(u"get"_s, 1)));
    QCOMPARE(log.take(), QStringList(u"I: Error couldn't find  \"get\" , keys:  (\"get\", \"set\")"_s));
    db.setRemoteAppValue(u"get"_s, 1, u"x"_s);
    QCOMPARE(db.getRemoteAppValue(u"get"_s, 1), u"x"_s);
    QCOMPARE(db.getAppCount(), 2);
    db.deleteRemoteApp(u"set"_s);
    QCOMPARE(db.getAppNames(), QStringList(u"get"_s));
    db.getRemoteAppControlPolicy(u"set"_s);
    db.clearRemoteAppList();
    QCOMPARE(db.getAppCount(), 0);
}

void tst_Apps::controlPolicy()
{
    VmDatabase db;
    VmDatabase other;
    const QJsonObject p{{u"p"_s, 1}};
    const QJsonObject q{{u"q"_s, 2}};
    const QJsonObject &none = db.getRemoteAppControlPolicy(u"a"_s);
    QCOMPARE(&other.getRemoteAppControlPolicy(u"b"_s), &none);
    db.setRemoteAppValue(u"a"_s, 3, u"x"_s);
    const QJsonObject &policy = db.getRemoteAppControlPolicy(u"a"_s);
    QVERIFY(&policy != &none && policy.isEmpty());
    db.setRemoteAppControlPolicy(u"a"_s, p);
    QCOMPARE(policy, p);
    db.setRemoteAppControlPolicy(u"a"_s, q);
    QCOMPARE(policy, q);
    QCOMPARE(&db.getRemoteAppControlPolicy(u"a"_s), &policy);
    db.deleteRemoteApp(u"a"_s);
    QCOMPARE(policy, q); // the record goes later
    QCOMPARE(&db.getRemoteAppControlPolicy(u"a"_s), &none);
    QVERIFY(none.isEmpty());
}

void tst_Apps::remoteRemoval()
{
    VmDatabase db;
    QSignalSpy updated(&db, &VmDatabase::remoteAppsUpdated);
    LogCapture log;
    db.setRemoteAppValue(u"a"_s, 3, u"x"_s);
    db.setRemoteAppValue(u"b"_s, 3, u"x"_s);
    const QList<RemoteApp *> apps = LiveObjects::ofType<RemoteApp>();
    QCOMPARE(apps.size(), 2);
    QCOMPARE(apps[0]->parent(), nullptr);
    db.deleteRemoteApp(u"unknown"_s);
    QCOMPARE(db.getAppCount(), 2);
    db.deleteRemoteApp(u"a"_s);
    QCOMPARE(db.getAppNames(), QStringList(u"b"_s));
    QCOMPARE(updated.count(), 0);
    db.clearRemoteAppList();
    QCOMPARE(updated.count(), 1);
    QCOMPARE(log.take(), QStringList());
    QCOMPARE(LiveObjects::ofType<RemoteApp>().size(), 2);
    runDeferredDeletions();
    QCOMPARE(LiveObjects::ofType<RemoteApp>().size(), 0);

    db.setRemoteAppValue(u"a"_s, 3, u"x"_s);
    db.clear(); // leaves the records that are still listed
    runDeferredDeletions();
    const QList<RemoteApp *> left = LiveObjects::ofType<RemoteApp>();
    QCOMPARE(left.size(), 1);
    QCOMPARE(left[0]->getValue(1), u"a"_s);
    qDeleteAll(left);
}

void tst_Apps::signalCounts()
{
    VmDatabase db;
    QSignalSpy updated(&db, &VmDatabase::remoteAppsUpdated);
    db.setRemoteAppValue(u"a"_s, 3, u"x"_s);
    db.setRemoteAppControlPolicy(u"a"_s, {});
    db.setSaasAppValue(u"a"_s, 3, u"x"_s);
    db.clearSaasAppList();
    QCOMPARE(updated.count(), 0);
    db.setRemoteAppEnd();
    QCOMPARE(updated.count(), 1);
    db.clearRemoteAppList();
    QCOMPARE(updated.count(), 2);
    db.clearRemoteAppList();
    QCOMPARE(updated.count(), 3);
    // Emitted with no lock held: a receiver may write.
    connect(&db, &VmDatabase::remoteAppsUpdated, &db, [&db] { db.setRemoteAppValue(u"again"_s, 3, u"x"_s); });
    db.clearRemoteAppList();
    QCOMPARE(db.getAppCount(), 1);
    db.deleteRemoteApp(u"again"_s);
}

void tst_Apps::signalInAnotherThread()
{
    VmDatabase db;
    QThread thread;
    QObject receiver;
    QSemaphore received;
    QThread *ranOn = nullptr;
    receiver.moveToThread(&thread);
    connect(&db, &VmDatabase::remoteAppsUpdated, &receiver, [&] {
        ranOn = QThread::currentThread();
        received.release();
    });
    db.setRemoteAppEnd(); // queued until that thread runs its event loop
    db.setRemoteAppEnd();
    QCOMPARE(received.available(), 0);
    thread.start();
    QVERIFY(received.tryAcquire(2, 30000));
    thread.quit();
    thread.wait();
    QCOMPARE(ranOn, &thread);
    QCOMPARE(received.available(), 0);
}

void tst_Apps::saasValues()
{
    LogCapture log;
    VmDatabase db;
    QCOMPARE(db.getSaasAppCount(), 0);
    checkTable([&](auto... a) { db.setSaasAppValue(a...); }, [&](auto... a) { return db.getSaasAppValue(a...); },
               [&](int index) { return db.getSaasAppId(index); });
    QCOMPARE(db.getSaasAppCount(), 3);
    QVERIFY(isEmptyNotNull(db.getSaasAppValue(u"b"_s, 1))); // the id is not stored
    QVERIFY(isEmptyNotNull(db.getSaasAppValue(u"x"_s, 1)));
    QCOMPARE(db.getAppCount(), 0);
    QCOMPARE(log.take(), QStringList());
}

void tst_Apps::saasRemoval()
{
    VmDatabase db;
    db.setRemoteAppValue(u"a"_s, 3, u"x"_s);
    db.setSaasAppValue(u"a"_s, 3, u"x"_s);
    QCOMPARE(LiveObjects::ofType<RemoteApp>().size(), 2);
    db.clearSaasAppList();
    QCOMPARE(LiveObjects::ofType<RemoteApp>().size(), 1); // at once
    QCOMPARE(db.getSaasAppCount(), 0);
    QVERIFY(isEmptyNotNull(db.getSaasAppValue(u"a"_s, 3)));
    QCOMPARE(db.getAppCount(), 1);
    db.clearRemoteAppList();
    db.setSaasAppValue(u"a"_s, 3, u"x"_s);
    db.clear();
    runDeferredDeletions();
    QCOMPARE(LiveObjects::ofType<RemoteApp>().size(), 0);
}

void tst_Apps::summary()
{
    VmDatabase db;
    QVERIFY(db.getAppsInfo().isEmpty() && db.getAppsIdList().isEmpty());
    const auto add = [&db](const QString &id, const QString &key, const QString &value) {
        db.setRemoteAppValue(id, 10, key);
        db.setRemoteAppValue(id, 11, value);
    };
    add(u"A"_s, u"Mail"_s, u"M1"_s);
    add(u"B"_s, u"Editor"_s, u"E1"_s);
    db.setSaasAppValue(u"S"_s, 10, u"Saas"_s);
    using Info = QMap<QString, QString>;
    QCOMPARE(db.getAppsInfo(), Info({{u"Editor"_s, u"E1"_s}, {u"Mail"_s, u"M1"_s}}));
    QCOMPARE(db.getAppsIdList(), QStringList({u"A"_s, u"B"_s}));
    add(u"C"_s, u"Mail"_s, u"M2"_s);            // the last id wins
    add(u"D"_s, QString(), u"without a key"_s); // as does it under the empty key
    add(u"E"_s, QString(), QString());
    add(u"F"_s, u"Value"_s, QString());
    db.getRemoteAppControlPolicy(u"Z"_s);
    const Info info = db.getAppsInfo();
    QCOMPARE(info, Info({{u""_s, u""_s}, {u"Editor"_s, u"E1"_s}, {u"Mail"_s, u"M2"_s}, {u"Value"_s, u""_s}}));
    QVERIFY(isEmptyNotNull(info.firstKey()) && isEmptyNotNull(info[u"Value"_s]));
    db.clearRemoteAppList();
}

void tst_Apps::keyNames()
{
    VmDatabase db;
    QCOMPARE(db.buildKeyName(QString(), u"Mail"_s), u"Mail"_s);
    QVERIFY(isNull(db.buildKeyName(u""_s, QString())));
    QCOMPARE(db.buildKeyName(u"Office"_s, u"Mail"_s), u"[Office]Mail"_s);
    QCOMPARE(db.buildKeyName(u" "_s, u"x"_s), u"[ ]x"_s);
    QCOMPARE(db.buildKeyName(u"a%1"_s, u"b"_s), u"[ab]%2"_s);
    QCOMPARE(db.buildKeyName(u"%1%1"_s, u"b"_s), u"[bb]%2"_s);
    QCOMPARE(db.buildKeyName(u"a"_s, u"%1"_s), u"[a]%1"_s);
}

QTEST_GUILESS_MAIN(tst_Apps)
#include "tst_apps.moc"
