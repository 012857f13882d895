// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include <vmdatabase/private/vmdatabase_p.h>
#include <vmdatabase/remoteapp.h>
#include <vmdatabase/vmdatabase.h>
#include <vmdatabase/vmpoolnode.h>

#include <QtCore/QThread>

/// What only shows in the store itself, or in what becomes of its objects.
class tst_Store : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { runDeferredDeletions(); }

    void poolLookup();
    void lists();
    void notAnItem();
    void abandonedItem();
    void removedPools();
    void removedItems();
    void removedRemoteApps();
    void removedSaasApps();
    void recordlessApps();
    void signalInAnotherThread();
    void lifetime();
};

static const auto p = u"p"_s;
static const auto x = u"x"_s;
constexpr auto item = VdiVM::ItemNode;

void tst_Store::poolLookup()
{
    LogCapture log;
    VmDatabasePrivate store;
    QCOMPARE(store.getVmPool(QString()), nullptr);
    QCOMPARE(log.take(), QStringList(u"C: [ getVmPool ] parent uuid is empty!!"_s));
    VmPoolNode *pool = store.getVmPool(p);
    QCOMPARE(pool->nodeType, 1);
    QCOMPARE(pool->parent(), nullptr);
    QCOMPARE(pool->getValue(0), p);
    QCOMPARE(store.getVmPool(p), pool);
    QCOMPARE(store.getPoolNodeList(), QList<VmPoolNode *>({pool}));
    QCOMPARE(log.take(), QStringList());
}

void tst_Store::lists()
{
    VmDatabasePrivate store;
    for (const QString &uuid : {u"c"_s, u"b"_s, u"a"_s, u"free"_s})
        store.setPoolNodeValue(uuid, 307, uuid == u"b"_s ? u"G"_s : u"g"_s);
    store.resetNodeValue(u"free"_s, QString(), VdiVM::PoolNode, 307);
    VmPoolNode *a = store.getVmPool(u"a"_s);
    VmPoolNode *b = store.getVmPool(u"b"_s);
    VmPoolNode *c = store.getVmPool(u"c"_s);
    VmPoolNode *free = store.getVmPool(u"free"_s);
    using Pools = QList<VmPoolNode *>;
    QCOMPARE(store.getPoolNodeList(), Pools({a, b, c, free}));
    const auto groups = store.getGroupedVmPool();
    QCOMPARE(groups.keys(), QStringList({u"G"_s, u"g"_s}));
    QCOMPARE(*groups[u"G"_s], Pools({b}));
    QCOMPARE(*groups[u"g"_s], Pools({a, c}));
    qDeleteAll(groups);
    QCOMPARE(*store.getVmPoolListByGroup(u"g"_s), Pools({a, c}));
    QCOMPARE(*store.getVmPoolListByGroup(QString()), Pools({free}));
    QCOMPARE(*store.getVmPoolListByGroup(u"none"_s), Pools());

    store.setNodeValue(u"b"_s, u"2"_s, item, 3, x);
    store.setNodeValue(u"b"_s, u"1"_s, item, 3, x);
    QCOMPARE(store.getItemList(), QList<VmNode *>({a, b->getVmItem(u"1"_s), b->getVmItem(u"2"_s), b, c, free}));

    // The first pool that stores the uuid decides, though a later one has a single item.
    store.setNodeValue(u"c"_s, u"3"_s, item, 3, x);
    for (const QString &uuid : {u"b"_s, u"c"_s})
        store.setPoolNodeValue(uuid, VdiVM::UuidKey, u"same"_s);
    QVERIFY(isEmptyNotNull(store.getUuidByParentUuid(u"same"_s)));
    store.removeNode(u"same"_s);
    QCOMPARE(store.getPoolNodeList(), Pools({a, c, free}));
}

// What a caller with a pool in hand can file there that the store itself never does.
void tst_Store::notAnItem()
{
    LogCapture log;
    VmDatabasePrivate store;
    VmPoolNode *pool = store.getVmPool(p);
    auto *node = new VmNode;
    pool->appendVmItem(node, u"n"_s);
    pool->appendVmItem(nullptr, u"null"_s);
    for (const QString &uuid : {u"n"_s, u"null"_s}) {
        QVERIFY2(isEmptyNotNull(store.getNodeValue(p, uuid, item, 3)), qPrintable(uuid));
        QCOMPARE(log.take(), QStringList());
        store.setNodeValue(p, uuid, item, 3, x);
        store.setPolicyValue(p, uuid, VdiVM::PolicyType(0), 3, x);
        store.resetNodeValue(p, uuid, item, 3);
        QVERIFY2(isEmptyNotNull(store.getPolicyValue(p, uuid, VdiVM::PolicyType(0), 3)), qPrintable(uuid));
        const QStringList lines = log.take();
        QCOMPARE(lines.size(), 8);
        QCOMPARE(lines[0], u"C: [ setNodeValue ] node type is error."_s);
        QCOMPARE(lines[1], u"C: [ setNodeValue ] error occur in:  void VmDatabasePrivate::setNodeValue(const QString&, "
                           "const QString&, const VdiVM::VmType&, int, const QString&) -- N"_s);
        QCOMPARE(lines[2], u"C: [ setPolicyValue ] node type is error."_s);
        QVERIFY(lines[3].startsWith(u"C: [ setPolicyValue ] error occur in: "_s));
        QCOMPARE(lines[4], u"C: [ resetNodeValue ] \"4 cannot find vm item node, uuid = %1\""_s.arg(uuid));
        QCOMPARE(lines[6], u"C: [ getPolicyValue ] \"7 cannot find vm item node, uuid = %1\""_s.arg(uuid));
    }
    store.printDatabase();
    QCOMPARE(log.take(), QStringList(u"I: [ printContent ] VmNode content =  \"|(pool)== Uuid: p;\""_s));
    QVERIFY(isNull(node->getValue(3)));

    // The null pointer is position 1, between the node and the pool.
    QCOMPARE(store.getItemCount(), 3);
    QVERIFY(isEmptyNotNull(store.getItemUuid(1)));
    QCOMPARE(store.getItemType(1), 0);
    QCOMPARE(store.getItemUuid(2), p);
    QCOMPARE(store.getItemTypeByUuid(u"null"_s), 0);
    QCOMPARE(store.getParentUuid(u"null"_s), p);
    QCOMPARE(store.getChildrenByParentUuid(p), QStringList({QString(), QString()}));
    store.removeNode(u"null"_s);
    store.removeNode(u"n"_s);
    QCOMPARE(store.getItemCount(), 2);
    QVERIFY(isEmptyNotNull(store.getUuidByParentUuid(p)));

    // The store refuses less than the facade: an empty uuid is a uuid there, and no type means a pool.
    log.take();
    store.setNodeValue(p, QString(), item, 3, u"unnamed"_s);
    store.setNodeValue(p, QString(), VdiVM::UnknownNode, 3, u"Office"_s);
    QCOMPARE(store.getNodeValue(p, QString(), item, 3), u"unnamed"_s);
    QCOMPARE(store.getPoolNodeValue(p, 3), u"Office"_s);
    QCOMPARE(log.take(), QStringList());
}

// The item that a policy write without a pool makes is neither filed nor deleted.
void tst_Store::abandonedItem()
{
    LogCapture log;
    VmDatabase db;
    const auto noPool = u"C: [ getVmPool ] parent uuid is empty!!"_s;
    const auto abandoned = u"C: [ setPolicyValue ] pVmPool is null."_s;
    db.setPolicyValue(QString(), u"i"_s, VdiVM::PolicyType(0), 3, x);
    QCOMPARE(log.take(), QStringList({noPool, abandoned}));
    db.setPolicyValue(QString(), u"i"_s, VdiVM::PolicyType(5), 3, x);
    const QStringList lines = log.take();
    QCOMPARE(lines.size(), 4);
    QCOMPARE(lines[0] + lines[1] + lines[3],
             noPool + u"C: [ setPolicyValue ] \"there is no policy type: 5.\""_s + abandoned);
    QCOMPARE(db.getItemCount(), 0);
    db.clear();
    runDeferredDeletions();
    const QList<VmItemNode *> left = LiveObjects::ofType<VmItemNode>();
    QCOMPARE(left.size(), 2);
    QCOMPARE(left[0]->getValue(0), u"i"_s);
    qDeleteAll(left);
}

void tst_Store::removedPools()
{
    for (int way = 0; way < 4; ++way) {
        auto *store = new VmDatabasePrivate;
        store->setNodeValue(p, u"i"_s, item, 3, x);
        QPointer<VmPoolNode> pool = store->getVmPool(p);
        QPointer<VmNode> child = pool->getVmItem(u"i"_s);
        if (way == 0)
            store->clearVmPoolList();
        else if (way == 1)
            store->removeNode(p);
        else if (way == 2)
            store->removeNodesByServerIp(QString());
        delete store; // the last way
        const QByteArray place = "way " + QByteArray::number(way);
        QVERIFY2(pool && child, place); // later
        QCOMPARE(pool->getValue(0), p);
        runDeferredDeletions();
        QVERIFY2(!pool && !child, place);
    }
}

void tst_Store::removedItems()
{
    VmDatabasePrivate store;
    for (const QString &uuid : {u"1"_s, u"2"_s, u"3"_s})
        store.setNodeValue(p, uuid, item, 3, x);
    LiveObjects::ownLeftPolicies();
    QPointer<VmNode> first = store.getVmPool(p)->getVmItem(u"1"_s);
    QPointer<VmNode> second = store.getVmPool(p)->getVmItem(u"2"_s);
    store.removeNode(u"1"_s);
    QVERIFY(!first && second); // at once
    store.removeChildrenByParentUuid(p);
    QVERIFY(!second);
    QCOMPARE(store.getItemCount(), 1);
}

void tst_Store::removedRemoteApps()
{
    LogCapture log;
    const auto records = [] { return LiveObjects::ofType<RemoteApp>(); };
    VmDatabase db;
    db.setRemoteAppValue(u"a"_s, 3, x);
    db.setRemoteAppValue(u"b"_s, 3, x);
    db.getRemoteAppControlPolicy(u"no record"_s);
    QCOMPARE(records().size(), 2);
    QCOMPARE(records()[0]->parent(), nullptr);
    db.deleteRemoteApp(u"a"_s);
    db.deleteRemoteApp(u"no record"_s);
    db.getRemoteAppControlPolicy(u"no record"_s);
    QCOMPARE(records().size(), 2); // later
    runDeferredDeletions();
    QCOMPARE(records().size(), 1);
    db.clearRemoteAppList();
    QCOMPARE(records().size(), 1);
    runDeferredDeletions();
    QCOMPARE(records().size(), 0);

    // Emitted with no lock held: a receiver may write.
    connect(&db, &VmDatabase::remoteAppsUpdated, &db, [&db] { db.setRemoteAppValue(u"again"_s, 3, x); });
    db.clearRemoteAppList();
    QCOMPARE(db.getAppCount(), 1);
    db.clear(); // leaves the records that are still listed
    runDeferredDeletions();
    QCOMPARE(records().size(), 1);
    QCOMPARE(records()[0]->getValue(1), u"again"_s);
    qDeleteAll(records());
}

void tst_Store::removedSaasApps()
{
    const auto records = [] { return LiveObjects::ofType<RemoteApp>(); };
    VmDatabase db;
    db.setSaasAppValue(u"a"_s, 3, x);
    QCOMPARE(records().size(), 1);
    QVERIFY(isEmptyNotNull(records()[0]->getValue(1)));
    db.clearSaasAppList();
    QCOMPARE(records().size(), 0); // at once
    db.setSaasAppValue(u"a"_s, 3, x);
    db.clear();
    QCOMPARE(records().size(), 0);
}

void tst_Store::recordlessApps()
{
    LogCapture log;
    VmDatabasePrivate store;
    VmDatabase closed;
    closed.clear();
    log.take();
    const QJsonObject &none = closed.getRemoteAppControlPolicy(QString());
    QCOMPARE(&store.getRemoteAppControlPolicy(u"a"_s), &none); // all without a record share one object
    QVERIFY(isNull(store.getRemoteAppValueByName(u"a"_s, 3)));
    QVERIFY(isNull(store.getRemoteAppValueByName(u"unknown"_s, 3)));
    store.setRemoteAppValue(u"a"_s, 3, x);
    QCOMPARE(store.getRemoteAppValueByName(u"a"_s, 3), x);
    QVERIFY(isEmptyNotNull(store.getRemoteAppValueByName(u"a"_s, 4)));

    const QJsonObject &policy = store.getRemoteAppControlPolicy(u"a"_s);
    QVERIFY(&policy != &none && policy.isEmpty());
    store.setRemoteAppControlPolicy(u"a"_s, {{u"p"_s, 1}});
    store.setRemoteAppControlPolicy(u"a"_s, {{u"q"_s, 2}});
    QCOMPARE(&store.getRemoteAppControlPolicy(u"a"_s), &policy);
    store.deleteRemoteApp(u"a"_s);
    QCOMPARE(policy, QJsonObject({{u"q"_s, 2}})); // the record goes later
    QCOMPARE(&store.getRemoteAppControlPolicy(u"a"_s), &none);
    QVERIFY(none.isEmpty());
    QCOMPARE(log.take(), QStringList());
}

void tst_Store::signalInAnotherThread()
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
    db.clearRemoteAppList();
    QCOMPARE(received.available(), 0);
    thread.start();
    QVERIFY(received.tryAcquire(2, 30000));
    thread.quit();
    thread.wait();
    QCOMPARE(ranOn, &thread);
    QCOMPARE(received.available(), 0);
}

// The line is written when nothing is left of the store, closed before or not. What is connected to a record that goes
// with it may still ask the database.
void tst_Store::lifetime()
{
    const auto freed = u"I: [ ~VmDatabase ] Yes, free db now!!"_s;
    for (const bool closed : {false, true}) {
        LogCapture log;
        QObject parent;
        auto *db = new VmDatabase(&parent);
        QCOMPARE(db->parent(), &parent);
        db->setSaasAppValue(u"a"_s, 3, x);
        QStringList seen;
        QString answer;
        connect(LiveObjects::ofType<RemoteApp>()[0], &QObject::destroyed, &parent, [&] {
            seen = log.take();
            answer = db->getParentUuid(p) + db->getSaasAppValue(u"a"_s, 3) + db->getRemoteAppValue(u"r"_s, 3);
        });
        db->setRemoteAppValue(u"r"_s, 3, x);
        db->setPoolNodeValue(p, 3, x);
        if (closed)
            db->clear();
        delete db;
        QCOMPARE(seen,
                 QStringList(closed ? QStringList(u"I: [ clear ] clear and free private db now!!"_s) : QStringList()));
        QCOMPARE(answer, x);
        QCOMPARE(log.take(), QStringList(freed));
        qDeleteAll(LiveObjects::ofType<RemoteApp>());
    }
}

QTEST_GUILESS_MAIN(tst_Store)
#include "tst_store.moc"
