// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include <vmdatabase/private/vmdatabase_p.h>
#include <vmdatabase/vmdatabase.h>
#include <vmdatabase/vmpoolnode.h>

class tst_Store : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { runDeferredDeletions(); }

    void poolLookup();
    void dump();
    void removalIsDeferred();
    void lifetime();
    void closed();
    void metaObject();
};

void tst_Store::poolLookup()
{
    LogCapture log;
    VmDatabasePrivate store;
    QCOMPARE(store.getVmPool(QString()), nullptr);
    QCOMPARE(log.take(), QStringList(u"C: [ getVmPool ] parent uuid is empty!!"_s));
    QCOMPARE(store.getPoolNodeList().size(), 0);

    VmPoolNode *b = store.getVmPool(u"b"_s);
    VmPoolNode *a = store.getVmPool(u"a"_s);
    QCOMPARE(b->nodeType, 1);
    QCOMPARE(b->parent(), nullptr);
    QCOMPARE(b->getValue(0), u"b"_s);
    QCOMPARE(b->getItemCount(), 1);
    QCOMPARE(store.getVmPool(u"b"_s), b);
    QCOMPARE(store.getPoolNodeList(), QList<VmPoolNode *>({a, b}));
    QCOMPARE(log.take(), QStringList());
}

void tst_Store::dump()
{
    LogCapture log;
    VmDatabase database;
    database.printDatabase();
    QCOMPARE(log.take(), QStringList());
    for (const QString &uuid : {u"p2"_s, u"p1"_s})
        database.setPoolNodeValue(uuid, 3, u"x"_s);
    for (const QString &uuid : {u"b"_s, u"a"_s})
        database.setNodeValue(u"p1"_s, uuid, VdiVM::ItemNode, 0, u"dropped"_s);
    database.printDatabase();
    QCOMPARE(log.take(), QStringList({u"I: [ printContent ] VmNode content =  \"|(pool)== Uuid: p1; Name: x;\""_s,
                                      u"I: [ printContent ] VmNode content =  \"|(vm)==== Uuid: a; Item-Active: 0;\""_s,
                                      u"I: [ printContent ] VmNode content =  \"|(vm)==== Uuid: b; Item-Active: 0;\""_s,
                                      u"I: [ printContent ] VmNode content =  \"|(pool)== Uuid: p2; Name: x;\""_s}));

    VmDatabasePrivate store; // what is no item is not printed
    store.getVmPool(u"p"_s)->appendVmItem(new VmNode, u"n"_s);
    store.printDatabase();
    QCOMPARE(log.take(), QStringList(u"I: [ printContent ] VmNode content =  \"|(pool)== Uuid: p;\""_s));
}

void tst_Store::removalIsDeferred()
{
    QPointer<VmPoolNode> pool;
    QPointer<VmNode> item = new VmNode;
    {
        VmDatabasePrivate store;
        pool = store.getVmPool(u"p"_s);
        pool->appendVmItem(item, u"i"_s);
        store.clearVmPoolList();
        QCOMPARE(store.getPoolNodeList().size(), 0);
        QVERIFY(pool && item);
        runDeferredDeletions();
        QVERIFY(!pool && !item);
        pool = store.getVmPool(u"p"_s);
    }
    QVERIFY(pool); // the store is gone, the pool is not yet
    runDeferredDeletions();
    QVERIFY(!pool);
}

void tst_Store::lifetime()
{
    const auto freed = u"I: [ ~VmDatabase ] Yes, free db now!!"_s;
    const auto cleared = u"I: [ clear ] clear and free private db now!!"_s;
    LogCapture log;
    QObject parent;
    QPointer<VmDatabase> open = new VmDatabase(&parent);
    QCOMPARE(open->parent(), &parent);
    delete open;
    QCOMPARE(log.take(), QStringList(freed));
    {
        VmDatabase database;
        database.clear();
        QCOMPARE(log.take(), QStringList(cleared));
        database.clear();
        QCOMPARE(log.take(), QStringList());
    }
    QCOMPARE(log.take(), QStringList(freed));
}

void tst_Store::closed()
{
    VmDatabase db;
    const auto x = u"x"_s;
    db.setNodeValue(x, x, VdiVM::ItemNode, 3, x);
    db.setRemoteAppValue(x, 3, x);
    db.clearRemoteAppList();
    QSignalSpy updated(&db, &VmDatabase::remoteAppsUpdated);
    LogCapture log;
    db.clear();
    log.take();

    db.printDatabase();
    db.setNodeValue(x, x, VdiVM::UnknownNode, 3, x); // gone before refused
    db.setPoolNodeValue(QString(), 3, x);
    db.resetNodeValue(QString(), x, VdiVM::PoolNode, 3);
    db.setPolicyValue(QString(), x, VdiVM::PolicyType(5), 3, x);
    db.removeNode(x);
    db.removeNodesByServerIp(x);
    db.removeChildrenByParentUuid(x);
    db.removeFamilyByParentUuid(x);
    db.dealVmPools();
    db.dealVmGroupPool();
    db.setRemoteAppValue(x, 3, x);
    db.deleteRemoteApp(x);
    db.setRemoteAppControlPolicy(x, {});
    db.clearRemoteAppList();
    db.setSaasAppValue(x, 3, x);
    for (const QString &text :
         {db.getNodeValue(QString(), x, VdiVM::ItemNode, 3), db.getPoolNodeValue(x, 3), db.getItemUuid(0),
          db.getPolicyValue(x, x, VdiVM::PolicyType(0), 3), db.getParentUuid(QString()), db.getUuidByParentUuid(x),
          db.getResourceNameByParentUuid(QString()), db.getRemoteAppId(0), db.getRemoteAppValue(x, 3),
          db.getSaasAppId(0), db.getSaasAppValue(x, 3)})
        QVERIFY(isEmptyNotNull(text));
    for (const QList<QString> &list :
         {db.getChildrenByParentUuid(x), db.getVmPoolNameList(), db.getAppNames(), db.getAppsIdList()})
        QVERIFY(list.isEmpty());
    QCOMPARE(db.getItemCount() + db.getItemCountByServerIp(x) + db.getItemType(0) + db.getItemTypeByUuid(x), 0);
    QVERIFY(db.getAppsInfo().isEmpty());
    VmDatabase other;
    QCOMPARE(&db.getRemoteAppControlPolicy(x), &other.getRemoteAppControlPolicy(x));
    QString uuid = x;
    QVERIFY(!db.wheelVmGroup(QString(), uuid));
    QCOMPARE(uuid, x);
    QCOMPARE(db.buildKeyName(x, x), u"[x]x"_s);
    QCOMPARE(log.take(), QStringList());
    QCOMPARE(updated.count(), 0);
    db.setRemoteAppEnd();
    QCOMPARE(updated.count(), 1);
}

void tst_Store::metaObject()
{
    const QMetaObject &meta = VmDatabase::staticMetaObject;
    QCOMPARE(meta.className(), "VmDatabase");
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
    QCOMPARE(meta.method(meta.methodOffset()).methodSignature(), QByteArray("remoteAppsUpdated()"));
    QCOMPARE(meta.method(meta.methodOffset()).methodType(), QMetaMethod::Signal);
}

QTEST_GUILESS_MAIN(tst_Store)
#include "tst_store.moc"
