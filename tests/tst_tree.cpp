// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include <vmdatabase/private/vmdatabase_p.h>
#include <vmdatabase/vmdatabase.h>
#include <vmdatabase/vmpoolnode.h>

class tst_Tree : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { runDeferredDeletions(); }

    void empty();
    void positions();
    void relations();
    void singleItem();
    void resourceName();
    void nullItems();
    void removeNode();
    void removeByServer();
    void removeChildrenAndFamily();
    void overwrittenUuid();
};

// p1 holds b and a, written in that order; p3, p2 and the first one are empty.
static void fill(VmDatabasePrivate &store)
{
    for (const QString &pool : {u"p3"_s, u"p1"_s, u"p2"_s, u"P"_s})
        store.getVmPool(pool);
    for (const QString &item : {u"b"_s, u"a"_s})
        store.setNodeValue(u"p1"_s, item, VdiVM::ItemNode, 3, item);
}

void tst_Tree::empty()
{
    LogCapture log;
    VmDatabase db;
    QCOMPARE(db.getItemCount(), 0);
    QCOMPARE(db.getItemCountByServerIp(QString()), 0);
    QVERIFY(isEmptyNotNull(db.getItemUuid(0)));
    QCOMPARE(db.getItemType(0), 0);
    QCOMPARE(db.getVmPoolNameList(), QStringList());
    db.removeNode(u"x"_s);
    db.removeNodesByServerIp(QString());
    QCOMPARE(log.take(), QStringList());
}

void tst_Tree::positions()
{
    VmDatabasePrivate store;
    fill(store);
    const QStringList uuids{u"P"_s, u"a"_s, u"b"_s, u"p1"_s, u"p2"_s, u"p3"_s};
    const QList<int> types{1, 2, 2, 1, 1, 1};
    QCOMPARE(store.getItemCount(), 6);
    const QList<VmNode *> nodes = store.getItemList();
    QCOMPARE(nodes.size(), 6);
    for (int i = 0; i < 6; ++i) {
        QCOMPARE(store.getItemUuid(i), uuids[i]);
        QCOMPARE(store.getItemType(i), types[i]);
        QCOMPARE(nodes[i]->getValue(0), uuids[i]);
    }
    for (const int outside : {6, 1000, -1, std::numeric_limits<int>::min()}) {
        QVERIFY(isEmptyNotNull(store.getItemUuid(outside)));
        QCOMPARE(store.getItemType(outside), 0);
    }
    QCOMPARE(store.getVmPoolNameList(), QStringList({u"P"_s, u"p1"_s, u"p2"_s, u"p3"_s}));

    store.setPoolNodeValue(u"p1"_s, 4, u"10.0.0.1"_s);
    store.setPoolNodeValue(u"p2"_s, 4, u"10.0.0.1"_s);
    store.setNodeValue(u"p1"_s, u"a"_s, VdiVM::ItemNode, 4, u"10.0.0.2"_s); // an item's own does not count
    QCOMPARE(store.getItemCountByServerIp(u"10.0.0.1"_s), 4);
    QCOMPARE(store.getItemCountByServerIp(u"10.0.0.2"_s), 0);
    QCOMPARE(store.getItemCountByServerIp(u""_s), 2);
}

void tst_Tree::relations()
{
    LogCapture log;
    VmDatabasePrivate store;
    fill(store);
    store.setNodeValue(u"p2"_s, u"p3"_s, VdiVM::ItemNode, 3, u"an item called as a pool"_s);
    QCOMPARE(store.getParentUuid(u"a"_s), u"p1"_s);
    QCOMPARE(store.getParentUuid(u"p1"_s), u"p1"_s);
    QCOMPARE(store.getParentUuid(u"p3"_s), u"p2"_s); // items before pools
    QVERIFY(isEmptyNotNull(store.getParentUuid(u"A"_s)));
    QCOMPARE(store.getItemTypeByUuid(u"a"_s), 2);
    QCOMPARE(store.getItemTypeByUuid(u"p1"_s), 1);
    QCOMPARE(store.getItemTypeByUuid(u"p3"_s), 1); // pools before items
    QCOMPARE(store.getItemTypeByUuid(u"A"_s), 0);
    QCOMPARE(store.getItemTypeByUuid(QString()), 0);
    QCOMPARE(store.getChildrenByParentUuid(u"p1"_s), QStringList({u"a"_s, u"b"_s}));
    QCOMPARE(store.getChildrenByParentUuid(u"P"_s), QStringList());
    QCOMPARE(log.take(), QStringList());

    QVERIFY(isEmptyNotNull(store.getParentUuid(QString())));
    QCOMPARE(store.getChildrenByParentUuid(u"q"_s), QStringList());
    QCOMPARE(log.take(), QStringList({u"C: [ getParentUuid ] uuid is empty, do nothing ! 3"_s,
                                      u"C: [ getChildrenByParentUuid ] \"1 cannot find vm item node, uuid = q\""_s}));
    QCOMPARE(store.getItemCount(), 7);
}

void tst_Tree::singleItem()
{
    LogCapture log;
    VmDatabasePrivate store;
    fill(store);
    LiveObjects::ownLeftPolicies();
    QVERIFY(isEmptyNotNull(store.getUuidByParentUuid(u"p1"_s)));
    store.removeNode(u"a"_s);
    QCOMPARE(store.getUuidByParentUuid(u"p1"_s), u"b"_s);
    QVERIFY(isEmptyNotNull(store.getUuidByParentUuid(u"q"_s)));
    QVERIFY(isEmptyNotNull(store.getUuidByParentUuid(QString())));
    QCOMPARE(log.take(), QStringList({u"I: [ getUuidByParentUuid ] 999 uuid =  \"\" , parent uuid =  \"p1\""_s,
                                      u"I: [ getUuidByParentUuid ] 999 uuid =  \"b\" , parent uuid =  \"p1\""_s,
                                      u"I: [ getUuidByParentUuid ] 999 uuid =  \"\" , parent uuid =  \"q\""_s,
                                      u"C: [ getUuidByParentUuid ] parentUuid is empty, do nothing ! 3"_s}));
}

void tst_Tree::resourceName()
{
    LogCapture log;
    VmDatabase db;
    db.setPoolNodeValue(u"p"_s, 301, u"res"_s);
    QCOMPARE(db.getResourceNameByParentUuid(u"p"_s), u"res"_s);
    QVERIFY(isNull(db.getResourceNameByParentUuid(u"new"_s)));
    QCOMPARE(db.getItemCount(), 2);
    QCOMPARE(log.take(), QStringList());
    QVERIFY(isEmptyNotNull(db.getResourceNameByParentUuid(QString())));
    QCOMPARE(log.take(), QStringList(u"C: [ getVmPool ] parent uuid is empty!!"_s));
}

void tst_Tree::nullItems()
{
    VmDatabasePrivate store;
    store.getVmPool(u"p"_s)->appendVmItem(nullptr, u"n"_s);
    QCOMPARE(store.getItemCount(), 2);
    QVERIFY(isEmptyNotNull(store.getItemUuid(0)));
    QCOMPARE(store.getItemType(0), 0);
    QCOMPARE(store.getItemUuid(1), u"p"_s);
    QCOMPARE(store.getItemTypeByUuid(u"n"_s), 0);
    QCOMPARE(store.getParentUuid(u"n"_s), u"p"_s);
    QVERIFY(isEmptyNotNull(store.getUuidByParentUuid(u"p"_s)));
    QCOMPARE(store.getChildrenByParentUuid(u"p"_s), QStringList(QString()));
    store.removeNode(u"n"_s);
    QCOMPARE(store.getItemCount(), 2);
}

void tst_Tree::removeNode()
{
    LogCapture log;
    VmDatabasePrivate store;
    fill(store);
    QPointer<VmPoolNode> p1 = store.getVmPool(u"p1"_s);
    QPointer<VmNode> a = p1->getVmItem(u"a"_s);
    QPointer<VmNode> b = p1->getVmItem(u"b"_s);
    store.setNodeValue(u"p3"_s, u"b"_s, VdiVM::ItemNode, 3, u"a second b"_s);
    LiveObjects::ownLeftPolicies();
    store.removeNode(u"unknown"_s);
    store.removeNode(u"b"_s); // the first one only
    QVERIFY(a && !b);
    QCOMPARE(store.getItemCount(), 6);
    store.removeNode(u"p1"_s);
    QCOMPARE(store.getVmPoolNameList(), QStringList({u"P"_s, u"p2"_s, u"p3"_s}));
    QVERIFY(p1 && a);
    QCOMPARE(p1->getValue(0), u"p1"_s);
    runDeferredDeletions();
    QVERIFY(!p1 && !a);

    store.setNodeValue(u"p2"_s, u"p2"_s, VdiVM::ItemNode, 3, u"named as its pool"_s);
    store.removeNode(u"p2"_s); // a pool before its items
    QCOMPARE(store.getItemTypeByUuid(u"p2"_s), 0);
    QCOMPARE(log.take(), QStringList());
}

void tst_Tree::removeByServer()
{
    LogCapture log;
    VmDatabasePrivate store;
    fill(store);
    QPointer<VmPoolNode> p1 = store.getVmPool(u"p1"_s);
    store.setPoolNodeValue(u"p1"_s, 4, u"s"_s);
    store.setPoolNodeValue(u"p2"_s, 4, u"s"_s);
    store.setPoolNodeValue(u"p3"_s, 4, u"t"_s);
    store.removeNodesByServerIp(u"S"_s);
    QCOMPARE(store.getItemCount(), 6);
    store.removeNodesByServerIp(u"s"_s);
    QCOMPARE(store.getVmPoolNameList(), QStringList({u"P"_s, u"p3"_s}));
    QVERIFY(p1 && p1->getItemCount() == 3);
    store.removeNodesByServerIp(QString());
    QCOMPARE(store.getVmPoolNameList(), QStringList(u"p3"_s));
    runDeferredDeletions();
    QVERIFY(!p1);
    QCOMPARE(log.take(), QStringList());
}

void tst_Tree::removeChildrenAndFamily()
{
    LogCapture log;
    VmDatabase db;
    for (const QString &item : {u"a"_s, u"b"_s})
        db.setNodeValue(u"p"_s, item, VdiVM::ItemNode, 3, item);
    LiveObjects::ownLeftPolicies();
    db.removeChildrenByParentUuid(u"p"_s);
    QCOMPARE(db.getItemCount(), 1);
    db.removeFamilyByParentUuid(u"p"_s);
    QCOMPARE(db.getItemCount(), 0);
    QCOMPARE(log.take(), QStringList());
    db.removeChildrenByParentUuid(u"p"_s);
    db.removeFamilyByParentUuid(u"p"_s);
    const auto line = u"C: [ removeChildrenByParentUuid ] \"1 cannot find vm item node, uuid = p\""_s;
    QCOMPARE(log.take(), QStringList({line, line}));

    // The second step takes the first node of that uuid: here an item of an earlier pool.
    db.setNodeValue(u"a"_s, u"z"_s, VdiVM::ItemNode, 3, u"x"_s);
    db.setNodeValue(u"z"_s, u"i"_s, VdiVM::ItemNode, 3, u"x"_s);
    LiveObjects::ownLeftPolicies();
    db.removeFamilyByParentUuid(u"z"_s);
    QCOMPARE(db.getVmPoolNameList(), QStringList({u"a"_s, u"z"_s}));
    QCOMPARE(db.getItemCount(), 2);
}

void tst_Tree::overwrittenUuid()
{
    VmDatabasePrivate store;
    store.setNodeValue(u"filed"_s, u"i"_s, VdiVM::ItemNode, 0, QString());
    store.setPoolNodeValue(u"filed"_s, 0, u"stored"_s);
    store.getVmPool(u"other"_s);
    QCOMPARE(store.getVmPoolNameList(), QStringList({u"filed"_s, u"other"_s}));
    QCOMPARE(store.getParentUuid(u"i"_s), u"stored"_s);
    QCOMPARE(store.getParentUuid(u"filed"_s), u"filed"_s);
    QVERIFY(store.getParentUuid(u"stored"_s).isEmpty());
    QCOMPARE(store.getItemTypeByUuid(u"filed"_s), 1);
    QCOMPARE(store.getItemTypeByUuid(u"stored"_s), 0);
    QCOMPARE(store.getItemUuid(1), u"stored"_s);
    QCOMPARE(store.getUuidByParentUuid(u"stored"_s), u"i"_s);
    QVERIFY(store.getUuidByParentUuid(u"filed"_s).isEmpty());
    QCOMPARE(store.getChildrenByParentUuid(u"filed"_s), QStringList(u"i"_s));
    QCOMPARE(store.getChildrenByParentUuid(u"stored"_s), QStringList());

    QPointer<VmPoolNode> pool = store.getVmPool(u"filed"_s);
    store.removeNode(u"filed"_s);
    runDeferredDeletions();
    QVERIFY(pool);
    store.setPoolNodeValue(u"filed"_s, 0, u"other"_s); // as another pool's key
    store.removeNode(u"other"_s);
    runDeferredDeletions();
    QVERIFY(!pool);
    QCOMPARE(store.getVmPoolNameList(), QStringList(u"other"_s));
}

QTEST_GUILESS_MAIN(tst_Tree)
#include "tst_tree.moc"
