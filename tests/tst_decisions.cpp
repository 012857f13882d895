// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include <vmdatabase/private/vmdatabase_p.h>
#include <vmdatabase/vmdatabase.h>
#include <vmdatabase/vmpoolnode.h>

class tst_Decisions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { runDeferredDeletions(); }

    void scenes_data();
    void scenes();
    void log();
    void groups();
    void wheel_data();
    void wheel();
    void wheelLog();
    void inconsistentOrder_data();
    void inconsistentOrder();
};

// A scene is a line of pools: "uuid key=value ... items=N active; ...". A key's value may not hold blanks.
static QStringList build(VmDatabase &db, const QString &scene)
{
    QStringList uuids;
    for (const QString &pool : scene.split(u';')) {
        QStringList words = pool.split(u' ', Qt::SkipEmptyParts);
        const QString uuid = words.takeFirst();
        uuids << uuid;
        db.setPoolNodeValue(uuid, 3, uuid.toUpper());
        for (const QString &word : std::as_const(words)) {
            const QStringList pair = word.split(u'=');
            for (int i = 0; pair[0] == u"items"_s && i < pair[1].toInt(); ++i)
                db.setNodeValue(uuid, uuid + QString::number(i), VdiVM::ItemNode, 3, u"x"_s);
            if (pair[0] == u"active"_s)
                db.setNodeValue(uuid, uuid + u"9"_s, VdiVM::ItemNode, 204, u"1"_s);
            else if (pair[0] != u"items"_s)
                db.setPoolNodeValue(uuid, pair[0].toInt(), QString(pair[1]).replace(u'_', u' '));
        }
    }
    return uuids;
}

void tst_Decisions::scenes_data()
{
    QTest::addColumn<QString>("scene");
    QTest::addColumn<QString>("shown");
    const auto row = [](const char *name, const char *scene, const char *shown) {
        QTest::newRow(name) << QString::fromLatin1(scene) << QString::fromLatin1(shown);
    };
    row("types 1, 3, 7 go by items", "a 100=1; b 100=3; c 100=7; d 100=1 items=1; e 100=3 items=2; f 100=7 items=1",
        "abc");
    row("types 1, 3, 7 ignore key 13", "a 100=1 13=1 items=1; b 100=7 13=1 items=1; c 100=3 13=1 items=1", "");
    row("other types go by items", "a 100=2; b 100=2 items=1; c; d items=1; e 100=x items=1; f 100=11 items=1", "ac");
    row("several dynamic desktops", "a 100=2 13=1 items=1; b 13=-1 items=3; c 13=_+2_; d 13=0 items=1; e 13=x items=1",
        "abc");
    row("numbers with blanks, zeros, plus", "a 100=_+1_ 13=1 items=1; b 100=007 13=1 items=1; c 100=-1 13=1 items=1",
        "c");
    row("group without items shows its lead", "a 307=g 305=9; b 307=g 305=10; c 307=h 305=x; d 307=h 305=1", "bd");
    row("failed pools come last", "a 307=g 305=9 306=1; b 307=g 305=1 306=0; c 307=h; d 307=h 309=1 306=2", "bc");
    row("preferred before priority", "a 307=g 305=9; b 307=g 305=1 309=1", "b");
    row("signs in a group", "a 307=g 306=-1 305=1; b 307=g 305=-9; c 307=h 309=-1 305=1; d 307=h 305=2", "ad");
    row("a group with an item is hidden", "a 307=g 305=9; b 307=g items=1; c 307=G", "c");
    row("unless it allows several and prefers", "a 307=g 305=9 items=1; b 307=g 13=1 309=1 items=1", "b");
    row("both on the same pool", "a 307=g 13=1 items=1; b 307=g 309=1 items=1", "");
    row("the lead need not be that pool", "a 307=g 13=1 309=1 306=1 items=1; b 307=g 305=1", "b");
    row("type 3 in a group with items", "a 307=g 100=3; b 307=g 100=2 items=1", "");
    row("type 3 alone in its group", "a 307=g 100=3 items=1; b 307=h 100=3", "b");
    row("an active item clears a failure", "a 307=g 13=1 309=1 306=1 305=9 active; b 307=g 306=0 305=1", "a");
}

void tst_Decisions::scenes()
{
    QFETCH(QString, scene);
    QFETCH(QString, shown);
    LogCapture log;
    VmDatabase db;
    const QStringList uuids = build(db, scene);
    for (int run = 0; run < 2; ++run) { // the second run finds what the first one wrote
        db.dealVmPools();
        QString result;
        for (const QString &uuid : uuids) {
            const QString hidden = db.getPoolNodeValue(uuid, 308);
            QVERIFY(hidden == u"0"_s || hidden == u"1"_s);
            result += hidden == u"0"_s ? uuid : QString();
            if (db.getItemTypeByUuid(uuid + u"9"_s) == 2)
                QCOMPARE(db.getPoolNodeValue(uuid, 306), u"0"_s);
        }
        QCOMPARE(result, shown);
    }
}

void tst_Decisions::log()
{
    VmDatabase db;
    LogCapture log;
    build(db, u"a 100=1 306=1; b 13=1 305=2; c 307=g 305=5; d 307=h 305=6 items=1 13=1 309=1; e 307=k 305=7 items=1"_s);
    db.dealVmPools();
    const auto line = [](const char *text, const char *name, int priority) {
        return u"I: %1 \"%2\" , keyPerrior: \"%3\""_s.arg(QLatin1String(text), QLatin1String(name)).arg(priority);
    };
    const QStringList groups{line("poolNode, SET HIDE ", "C", 5), line("GROUP do not have Item, DO SHOW ", "C", 5),
                             line("poolNode, SET HIDE ", "D", 6),
                             line("GROUP allowMultiDynamicDesktop, DO SHOW ", "D", 6),
                             line("poolNode, SET HIDE ", "E", 7)};
    const QStringList pools{line("pool allowMultiDynamicDesktop, DO SHOW ", "B", 2),
                            line("poolNode, SET HIDE ", "C", 5), line("poolNode, SET HIDE ", "D", 6),
                            line("poolNode, SET HIDE ", "E", 7)};
    QCOMPARE(log.take(), pools + groups);
    QCOMPARE(db.getPoolNodeValue(u"a"_s, 306), u"1"_s); // cleared by an active item only
    db.dealVmGroupPool();
    QCOMPARE(log.take(), groups);
}

void tst_Decisions::groups()
{
    VmDatabasePrivate store;
    for (const QString &uuid : {u"c"_s, u"b"_s, u"a"_s, u"free"_s})
        store.setPoolNodeValue(uuid, 307, uuid == u"b"_s ? u"G"_s : u"g"_s);
    store.resetNodeValue(u"free"_s, QString(), VdiVM::PoolNode, 307);
    const auto grouped = store.getGroupedVmPool();
    QCOMPARE(grouped.keys(), QStringList({u"G"_s, u"g"_s}));
    QCOMPARE(*grouped[u"G"_s], QList<VmPoolNode *>({store.getVmPool(u"b"_s)}));
    QCOMPARE(*grouped[u"g"_s], QList<VmPoolNode *>({store.getVmPool(u"a"_s), store.getVmPool(u"c"_s)}));
    qDeleteAll(grouped);
    QCOMPARE(*store.getVmPoolListByGroup(u"g"_s),
             QList<VmPoolNode *>({store.getVmPool(u"a"_s), store.getVmPool(u"c"_s)}));
    QCOMPARE(*store.getVmPoolListByGroup(QString()), QList<VmPoolNode *>({store.getVmPool(u"free"_s)}));
    QVERIFY(store.getVmPoolListByGroup(u"none"_s)->isEmpty());
}

void tst_Decisions::wheel_data()
{
    QTest::addColumn<QString>("scene");
    QTest::addColumn<bool>("found");
    QTest::addColumn<QString>("lead");
    const auto row = [](const char *name, const char *scene, bool found, const char *lead) {
        QTest::newRow(name) << QString::fromLatin1(scene) << found << QString::fromLatin1(lead);
    };
    row("all failed", "a 307=g 306=1 305=1; b 307=g 306=1 305=2", false, "b");
    row("usable before failed", "a 307=g 306=1 305=9 309=1; b 307=g 306=0", true, "b");
    row("preferred before priority", "a 307=g 305=99; b 307=g 309=2 305=1", true, "b");
    row("priorities as numbers", "a 307=g 305=9; b 307=g 305=10; c 307=g 305=x", true, "b");
    row("a minus is no failure", "a 307=g 306=-1 305=9; b 307=g 305=1", true, "a");
    row("other groups are left alone", "a 307=g; b 307=G; c", true, "a");
    row("no such group", "a 307=h", false, "");
}

void tst_Decisions::wheel()
{
    QFETCH(QString, scene);
    QFETCH(bool, found);
    QFETCH(QString, lead);
    LogCapture log;
    VmDatabase db;
    QString picked = u"untouched"_s;
    const QStringList uuids = build(db, scene);
    QCOMPARE(db.wheelVmGroup(u"g"_s, picked), found);
    QCOMPARE(picked, found ? lead : u"untouched"_s);
    for (const QString &uuid : uuids) {
        if (db.getPoolNodeValue(uuid, 307) == u"g"_s)
            QCOMPARE(db.getPoolNodeValue(uuid, 308), uuid == lead ? u"0"_s : u"1"_s);
        else
            QVERIFY(isNull(db.getPoolNodeValue(uuid, 308)));
    }
}

void tst_Decisions::wheelLog()
{
    VmDatabase db;
    build(db, u"a 307=g 306=1; b 307=g; c"_s);
    LogCapture log;
    QString uuid;
    QVERIFY(!db.wheelVmGroup(u"none"_s, uuid));
    QCOMPARE(log.take(), QStringList());
    QVERIFY(db.wheelVmGroup(u"g"_s, uuid));
    QCOMPARE(log.take(), QStringList({u"I: xx wheelVmGroup keyUuid:  \"a\" , keyFailedToConnect  \"1\""_s,
                                      u"I: xx wheelVmGroup keyUuid:  \"b\" , keyFailedToConnect  \"\""_s,
                                      u"I: wheelVmGroup select keyUuid:  \"b\""_s}));
    QVERIFY(db.wheelVmGroup(QString(), uuid)); // the pools without a group
    QCOMPARE(uuid, u"c"_s);
}

void tst_Decisions::inconsistentOrder_data()
{
    QTest::addColumn<int>("modulus");
    QTest::newRow("all flags differ") << 1000;
    QTest::newRow("few flags") << 3;
    QTest::newRow("some usable") << 7;
}

// Each of two pools with different failure flags goes before the other: any order may come out, but nothing else.
void tst_Decisions::inconsistentOrder()
{
    QFETCH(int, modulus);
    LogCapture log;
    for (const int size : {2, 3, 40, 50, 300}) {
        VmDatabase db;
        for (int i = 0; i < size; ++i) {
            const QString uuid = QString::number(i);
            db.setPoolNodeValue(uuid, 307, u"g"_s);
            db.setPoolNodeValue(uuid, 306, QString::number(i * 37 % modulus + (modulus == 7 ? 0 : 1)));
            db.setPoolNodeValue(uuid, 305, QString::number(i % 5));
        }
        QString picked;
        QCOMPARE(db.wheelVmGroup(u"g"_s, picked), modulus == 7);
        db.dealVmPools();
        int shown = 0;
        for (int i = 0; i < size; ++i)
            shown += db.getPoolNodeValue(QString::number(i), 308) == u"0"_s;
        QCOMPARE(shown, 1);
        QCOMPARE(db.getItemCount(), size);
    }
}

QTEST_GUILESS_MAIN(tst_Decisions)
#include "tst_decisions.moc"
