// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include <vmdatabase/private/vmdatabase_p.h>
#include <vmdatabase/vmdatabase.h>
#include <vmdatabase/vmitemnode.h>
#include <vmdatabase/vmpolicy.h>
#include <vmdatabase/vmpoolnode.h>

constexpr auto pool = VdiVM::PoolNode;
constexpr auto item = VdiVM::ItemNode;

static VdiVM::PolicyType policy(int type)
{
    return VdiVM::PolicyType(type);
}

class tst_Values : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { runDeferredDeletions(); }

    void feed();
    void firstWrite();
    void readingCreatesPools();
    void reports_data();
    void reports();
    void notAnItem();
    void policies();
    void policyWithoutPool();
};

void tst_Values::feed()
{
    LogCapture log;
    VmDatabase db;
    db.setPoolNodeValue(u"p"_s, 3, u"Office"_s);
    db.setNodeValue(u"p"_s, u"ignored"_s, pool, 305, u"7"_s);
    db.setNodeValue(u"p"_s, u"ignored"_s, VdiVM::VmType(3), 309, u"1"_s); // any other type is a pool
    db.setNodeValue(u"p"_s, u"i"_s, item, 200, u"running"_s);
    db.setNodeValue(u"q"_s, u"i"_s, item, 200, u"stopped"_s);
    QCOMPARE(db.getPoolNodeValue(u"p"_s, 3), u"Office"_s);
    QCOMPARE(db.getNodeValue(u"p"_s, u"i"_s, pool, 305), u"7"_s);
    QCOMPARE(db.getNodeValue(u"p"_s, QString(), VdiVM::VmType(-1), 309), u"1"_s);
    QCOMPARE(db.getNodeValue(u"p"_s, u"i"_s, item, 200), u"running"_s);
    QCOMPARE(db.getNodeValue(u"q"_s, u"i"_s, item, 200), u"stopped"_s);
    QCOMPARE(db.getItemCount(), 4);

    db.resetNodeValue(u"p"_s, u"i"_s, item, 200);
    db.resetNodeValue(u"p"_s, u"i"_s, pool, 305);
    QVERIFY(isEmptyNotNull(db.getNodeValue(u"p"_s, u"i"_s, item, 200)));
    QVERIFY(isEmptyNotNull(db.getPoolNodeValue(u"p"_s, 305)));
    QCOMPARE(db.getPoolNodeValue(u"p"_s, 3), u"Office"_s);
    QVERIFY(isNull(db.getNodeValue(u"p"_s, u"i"_s, item, 305)));
    QCOMPARE(log.take(), QStringList());
}

void tst_Values::firstWrite()
{
    VmDatabase db;
    db.setNodeValue(u"p"_s, u"a"_s, item, 0, u"dropped"_s);
    db.setNodeValue(u"p"_s, u"b"_s, item, 204, u"1"_s);
    db.setNodeValue(u"p"_s, u"c"_s, item, 3, u"C"_s);
    QCOMPARE(db.getNodeValue(u"p"_s, u"a"_s, item, 0), u"a"_s);
    QCOMPARE(db.getNodeValue(u"p"_s, u"b"_s, item, 204), u"1"_s);
    QCOMPARE(db.getNodeValue(u"p"_s, u"c"_s, item, 204), u"0"_s);
    QCOMPARE(db.getNodeValue(u"p"_s, u"c"_s, item, 0), u"c"_s);
    // Later on key 0 is a key like any other, and the item stays filed where it was.
    db.setNodeValue(u"p"_s, u"a"_s, item, 0, u"z"_s);
    QCOMPARE(db.getNodeValue(u"p"_s, u"a"_s, item, 0), u"z"_s);
    QVERIFY(isEmptyNotNull(db.getNodeValue(u"p"_s, u"z"_s, item, 0)));
    QCOMPARE(db.getItemCount(), 4);
}

void tst_Values::readingCreatesPools()
{
    LogCapture log;
    VmDatabase db;
    QCOMPARE(db.getNodeValue(u"1"_s, QString(), pool, 0), u"1"_s);
    QVERIFY(isNull(db.getNodeValue(u"1"_s, QString(), pool, 3)));
    QCOMPARE(db.getPoolNodeValue(u"2"_s, 0), u"2"_s);
    QVERIFY(isEmptyNotNull(db.getNodeValue(u"3"_s, u"i"_s, item, 0)));
    QVERIFY(isEmptyNotNull(db.getNodeValue(QString(), u"i"_s, pool, 0)));
    QVERIFY(isEmptyNotNull(db.getPoolNodeValue(QString(), 0)));
    QVERIFY(isEmptyNotNull(db.getPolicyValue(QString(), u"i"_s, policy(0), 0)));
    QVERIFY(isEmptyNotNull(db.getPolicyValue(u"4"_s, QString(), policy(0), 0)));
    QCOMPARE(db.getVmPoolNameList(), QStringList({u"1"_s, u"2"_s, u"3"_s}));
    QCOMPARE(db.getItemCount(), 3);
    QCOMPARE(log.take(), QStringList());
}

using Call = void (*)(VmDatabase &);
Q_DECLARE_METATYPE(Call)

// Every report, from a database whose pool "p" holds item "i". "@name" stands for the error-location line.
void tst_Values::reports_data()
{
    QTest::addColumn<Call>("call");
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<int>("nodes");
    const auto row = [](const char *name, Call call, const QStringList &lines, int nodes = 2) {
        QTest::newRow(name) << call << lines << nodes;
    };
    const auto noPool = u"[ getVmPool ] parent uuid is empty!!"_s;

    row("get, item without pool",
        [](VmDatabase &db) { QVERIFY(isEmptyNotNull(db.getNodeValue(QString(), u"i"_s, item, 3))); },
        {u"[ getNodeValue ] parent uuid is empty, but the node is vm item node, so parent uuid must be not empty."_s,
         u"@getNodeValue"_s});
    row("set, no type", [](VmDatabase &db) { db.setNodeValue(u"p"_s, u"i"_s, VdiVM::UnknownNode, 3, u"x"_s); },
        {u"[ setNodeValue ] type is invalid, do nothing. 4"_s});
    row("set, pool without uuid", [](VmDatabase &db) { db.setNodeValue(QString(), u"i"_s, pool, 3, u"x"_s); },
        {u"[ setNodeValue ] error: parent uuid is empty(pool) or uuid is empty(item), uuid =  \"i\" , parent uuid =  \"\" , type =  1"_s});
    row("set, item without uuid", [](VmDatabase &db) { db.setNodeValue(u"p"_s, QString(), item, 3, u"x"_s); },
        {u"[ setNodeValue ] error: parent uuid is empty(pool) or uuid is empty(item), uuid =  \"\" , parent uuid =  \"p\" , type =  2"_s});
    row("set, item without pool", [](VmDatabase &db) { db.setNodeValue(QString(), u"i"_s, item, 3, u"x"_s); },
        {noPool, u"setNodeValue \"cannot find vm pool node, parent uuid = \""_s});
    row("set, other type without uuid",
        [](VmDatabase &db) { db.setNodeValue(QString(), u"i"_s, VdiVM::VmType(3), 3, u"x"_s); },
        {noPool, u"setNodeValue \"cannot find vm pool node, parent uuid = \""_s});
    row("set pool without uuid", [](VmDatabase &db) { db.setPoolNodeValue(QString(), 3, u"x"_s); },
        {noPool, u"setPoolNodeValue \"cannot find vm pool node, parent uuid = \""_s});
    row("reset, pool without uuid", [](VmDatabase &db) { db.resetNodeValue(QString(), u"%1 \"q\""_s, pool, 3); },
        {noPool, u"[ resetNodeValue ] \"6 cannot find vm pool node, uuid = %1 \\\"q\\\"\""_s, u"@resetNodeValue"_s});
    row("reset, item without pool", [](VmDatabase &db) { db.resetNodeValue(QString(), u"i"_s, item, 3); },
        {noPool, u"[ resetNodeValue ] \"5 cannot find parent vm pool node, parent uuid = \""_s, u"@resetNodeValue"_s});
    row(
        "reset, unknown item", [](VmDatabase &db) { db.resetNodeValue(u"q"_s, u"j"_s, item, 3); },
        {u"[ resetNodeValue ] \"4 cannot find vm item node, uuid = j\""_s, u"@resetNodeValue"_s}, 3);
    row(
        "get policy, unknown item",
        [](VmDatabase &db) { QVERIFY(isEmptyNotNull(db.getPolicyValue(u"q"_s, u"j"_s, policy(0), 3))); },
        {u"[ getPolicyValue ] \"7 cannot find vm item node, uuid = j\""_s, u"@getPolicyValue"_s}, 3);
    row("get policy, no such type",
        [](VmDatabase &db) { QVERIFY(isEmptyNotNull(db.getPolicyValue(u"p"_s, u"i"_s, policy(5), 3))); },
        {u"[ getPolicyValue ] \"there is no policy type: 5.\""_s, u"@getPolicyValue"_s});
    row("set policy, no such type", [](VmDatabase &db) { db.setPolicyValue(u"p"_s, u"i"_s, policy(-1), 3, u"x"_s); },
        {u"[ setPolicyValue ] \"there is no policy type: -1.\""_s, u"@setPolicyValue"_s});
    row(
        "set policy, new item, no such type",
        [](VmDatabase &db) { db.setPolicyValue(u"p"_s, u"j"_s, policy(11), 3, u"x"_s); },
        {u"[ setPolicyValue ] \"there is no policy type: 11.\""_s, u"@setPolicyValue"_s}, 3);
}

void tst_Values::reports()
{
    QFETCH(Call, call);
    QFETCH(QStringList, lines);
    QFETCH(int, nodes);
    const QHash<QString, QString> signatures{
        {u"@getNodeValue"_s,
         u"QString VmDatabasePrivate::getNodeValue(const QString&, const QString&, const VdiVM::VmType&, int)"_s},
        {u"@resetNodeValue"_s,
         u"void VmDatabasePrivate::resetNodeValue(const QString&, const QString&, const VdiVM::VmType&, int)"_s},
        {u"@getPolicyValue"_s,
         u"QString VmDatabasePrivate::getPolicyValue(const QString&, const QString&, const VdiVM::PolicyType&, int)"_s},
        {u"@setPolicyValue"_s,
         u"void VmDatabasePrivate::setPolicyValue(const QString&, const QString&, const VdiVM::PolicyType&, int, const QString&)"_s},
    };
    for (QString &line : lines) {
        if (line.startsWith(u'@'))
            line = u"["_s + u" %1 ] error occur in:  %2 -- N"_s.arg(line.mid(1), signatures[line]);
        line.prepend(u"C: "_s);
    }
    VmDatabase db;
    db.setNodeValue(u"p"_s, u"i"_s, item, 3, u"before"_s);
    db.setPoolNodeValue(u"p"_s, 3, u"before"_s);
    LogCapture log;
    call(db);
    QCOMPARE(log.take(), lines);
    QCOMPARE(db.getItemCount(), nodes);
    QCOMPARE(db.getNodeValue(u"p"_s, u"i"_s, item, 3), u"before"_s);
    QCOMPARE(db.getPoolNodeValue(u"p"_s, 3), u"before"_s);
}

void tst_Values::notAnItem()
{
    LogCapture log;
    VmDatabasePrivate store;
    auto *node = new VmNode;
    store.getVmPool(u"p"_s)->appendVmItem(node, u"n"_s);
    store.getVmPool(u"p"_s)->appendVmItem(nullptr, u"null"_s);
    for (const QString &uuid : {u"n"_s, u"null"_s}) {
        QVERIFY(isEmptyNotNull(store.getNodeValue(u"p"_s, uuid, item, 3)));
        QCOMPARE(log.take(), QStringList());
        store.setNodeValue(u"p"_s, uuid, item, 3, u"x"_s);
        store.setPolicyValue(u"p"_s, uuid, policy(0), 3, u"x"_s);
        store.resetNodeValue(u"p"_s, uuid, item, 3);
        QVERIFY(isEmptyNotNull(store.getPolicyValue(u"p"_s, uuid, policy(0), 3)));
        const QStringList lines = log.take();
        QCOMPARE(lines.size(), 8);
        QCOMPARE(lines[0], u"C: [ setNodeValue ] node type is error."_s);
        QCOMPARE(lines[1], u"C: [ setNodeValue ] error occur in:  void VmDatabasePrivate::setNodeValue(const QString&, "
                           u"const QString&, "
                           "const VdiVM::VmType&, int, const QString&) -- N"_s);
        QCOMPARE(lines[2], u"C: [ setPolicyValue ] node type is error."_s);
        QVERIFY(lines[3].startsWith(u"C: [ setPolicyValue ] error occur in: "_s));
        QCOMPARE(lines[4], u"C: [ resetNodeValue ] \"4 cannot find vm item node, uuid = %1\""_s.arg(uuid));
        QCOMPARE(lines[6], u"C: [ getPolicyValue ] \"7 cannot find vm item node, uuid = %1\""_s.arg(uuid));
    }
    QVERIFY(isNull(node->getValue(3)));
    QCOMPARE(store.getVmPool(u"p"_s)->getItemCount(), 3);

    // The store refuses less than the facade: an empty uuid is a uuid there, and no type means a pool.
    store.setNodeValue(u"p"_s, QString(), item, 3, u"unnamed"_s);
    store.setNodeValue(u"p"_s, QString(), VdiVM::UnknownNode, 3, u"Office"_s);
    QCOMPARE(store.getNodeValue(u"p"_s, QString(), item, 3), u"unnamed"_s);
    QCOMPARE(store.getPoolNodeValue(u"p"_s, 3), u"Office"_s);
    QCOMPARE(log.take(), QStringList());
}

void tst_Values::policies()
{
    LogCapture log;
    VmDatabase db;
    for (const int type : {0, 1, 2, 3, 4, 6, 7, 8, 9, 10})
        db.setPolicyValue(u"p"_s, u"i"_s, policy(type), -1, QString::number(type)); // the first one makes pool and item
    for (const int type : {0, 1, 2, 3, 4, 6, 7, 8, 9, 10})
        QCOMPARE(db.getPolicyValue(u"p"_s, u"i"_s, policy(type), -1), QString::number(type));
    QVERIFY(isNull(db.getPolicyValue(u"p"_s, u"i"_s, policy(0), 0)));
    QCOMPARE(db.getNodeValue(u"p"_s, u"i"_s, item, 0), u"i"_s);
    QCOMPARE(db.getNodeValue(u"p"_s, u"i"_s, item, 204), u"0"_s);
    db.setPolicyValue(u"p"_s, QString(), policy(0), 1, u"x"_s); // stored, though it cannot be read back
    QCOMPARE(db.getChildrenByParentUuid(u"p"_s), QStringList({QString(), u"i"_s}));
    QCOMPARE(log.take(), QStringList());
}

// The item that such a write makes is neither filed nor deleted.
void tst_Values::policyWithoutPool()
{
    LogCapture log;
    VmDatabase db;
    db.setPolicyValue(QString(), u"i"_s, policy(0), 3, u"x"_s);
    QCOMPARE(log.take(),
             QStringList({u"C: [ getVmPool ] parent uuid is empty!!"_s, u"C: [ setPolicyValue ] pVmPool is null."_s}));
    db.setPolicyValue(QString(), u"i"_s, policy(5), 3, u"x"_s);
    const QStringList lines = log.take();
    QCOMPARE(lines.size(), 4);
    QCOMPARE(lines[1], u"C: [ setPolicyValue ] \"there is no policy type: 5.\""_s);
    QCOMPARE(lines[3], u"C: [ setPolicyValue ] pVmPool is null."_s);
    QCOMPARE(db.getItemCount(), 0);
    db.clear();
    runDeferredDeletions();
    const QList<VmItemNode *> abandoned = LiveObjects::ofType<VmItemNode>();
    QCOMPARE(abandoned.size(), 2);
    QCOMPARE(abandoned[0]->getValue(0), u"i"_s);
    qDeleteAll(abandoned);
}

QTEST_GUILESS_MAIN(tst_Values)
#include "tst_values.moc"
