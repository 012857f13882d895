// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include "presentation/poolordering_p.h"
#include "rules/order_p.h"

#include <vmdatabase/vmdatabase.h>
#include <vmdatabase/vmpoolnode.h>

#include <QtCore/QRandomGenerator>

#include <algorithm>
#include <set>
#include <vector>

class tst_Decisions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { runDeferredDeletions(); }

    void scenes_data();
    void scenes();
    void inconsistentOrder_data();
    void inconsistentOrder();
    void certainLead();
    void sortedByRule();
};

// A scene is a line of pools: "uuid key=value ... items=N active; ..."; an underscore in a value stands for a blank.
static QStringList build(VmDatabase &db, const QString &scene)
{
    QStringList uuids;
    for (const QString &pool : scene.split(u';')) {
        QStringList words = pool.trimmed().split(u' ');
        const QString uuid = words.takeFirst();
        uuids << uuid;
        db.getPoolNodeValue(uuid, 0);
        for (const QString &word : std::as_const(words)) {
            const QString value = word.section(u'=', 1).replace(u'_', u' ');
            if (word == u"active"_s)
                db.setNodeValue(uuid, uuid + u"!"_s, VdiVM::ItemNode, 204, u"1"_s);
            else if (!word.startsWith(u"items"_s))
                db.setPoolNodeValue(uuid, word.section(u'=', 0, 0).toInt(), value);
            else
                for (int i = 0; i < value.toInt(); ++i)
                    db.setNodeValue(uuid, uuid + QString::number(i), VdiVM::ItemNode, 3, u"x"_s);
        }
    }
    return uuids;
}

static QString shown(VmDatabase &db, const QStringList &uuids)
{
    QString result;
    for (const QString &uuid : uuids) {
        const QString hidden = db.getPoolNodeValue(uuid, 308);
        result += hidden == u"0"_s ? uuid : hidden == u"1"_s ? QString() : uuid + u'?';
    }
    return result;
}

// Worked out by hand: the pools that dealVmPools() shows, those that are shown after the wheel of group "g" was turned,
// and whether it found a usable one.
void tst_Decisions::scenes_data()
{
    QTest::addColumn<QString>("scene");
    QTest::addColumn<QString>("dealt");
    QTest::addColumn<QString>("turned");
    QTest::addColumn<bool>("found");
    const auto row = [](const char *name, const char *scene, const char *dealt, const char *turned, bool found) {
        QTest::newRow(name) << QString::fromLatin1(scene) << QString::fromLatin1(dealt) << QString::fromLatin1(turned)
                            << found;
    };
    const auto pools = [&row](const char *name, const char *scene, const char *dealt) {
        row(name, scene, dealt, dealt, false);
    };
    pools("types 1, 3, 7 go by items", "a 100=1; b 100=3; c 100=7; d 100=1 items=1; e 100=3 items=2; f 100=7 items=1",
          "abc");
    pools("types 1, 3, 7 ignore key 13", "a 100=1 13=1 items=1; b 100=7 13=1 items=1; c 100=3 13=1 items=1", "");
    pools("other types go by items", "a 100=2; b 100=2 items=1; c; d items=1; e 100=x items=1; f 100=11 items=1", "ac");
    pools("several dynamic desktops",
          "a 100=2 13=1 items=1; b 13=-1 items=3; c 13=_+2_; d 13=0 items=1; e 13=x items=1", "abc");
    pools("blanks, zeros, plus and minus", "a 100=_+1_ 13=1 items=1; b 100=007 13=1 items=1; c 100=-1 13=1 items=1",
          "c");
    row("priorities as numbers", "a 307=g 305=9; b 307=g 305=10; c 307=g 305=x; d 307=G", "bd", "bd", true);
    row("usable before failed", "a 307=g 305=9 306=1 309=1; b 307=g 305=1 306=0", "b", "b", true);
    row("preferred before priority", "a 307=g 305=99; b 307=g 305=1 309=2", "b", "b", true);
    row("a minus is no failure", "a 307=g 306=-1 305=1; b 307=g 305=-9 309=-1; c 307=g 306=2", "a", "a", true);
    row("all failed", "a 307=g 306=1 305=1; b 307=g 306=1 305=2", "b", "b", false);
    row("a group with an item is hidden", "a 307=g 305=9; b 307=g items=1; c", "c", "ac", true);
    row("unless it allows several and prefers", "a 307=g 305=9 items=1; b 307=g 13=1 309=1 items=1", "b", "b", true);
    row("both on the same pool", "a 307=g 13=1 items=1; b 307=g 309=1 items=1", "", "b", true);
    row("the lead need not be that pool", "a 307=g 13=1 309=1 306=1 items=1; b 307=g 305=1", "b", "b", true);
    row("type 3 in a group with items", "a 307=g 100=3 305=1; b 307=g 100=2 items=1", "", "a", true);
    row("types 1 and 7 alone in their groups", "a 307=h 100=7 items=1; b 307=g 100=1", "b", "b", true);
    row("an active item clears a failure", "a 307=g 13=1 309=1 306=1 305=9 active; b 307=g 306=0 305=1", "a", "a",
        true);
    row("the type of an ungrouped pool is unsigned", "a 100=4294967297 13=1 items=1; b 307=g", "ab", "ab", true);
}

void tst_Decisions::scenes()
{
    QFETCH(QString, scene);
    LogCapture log;
    VmDatabase db;
    const QStringList uuids = build(db, scene);
    for (int run = 0; run < 2; ++run) { // the second run finds what the first one wrote
        log.take();
        db.dealVmPools();
        QTEST(shown(db, uuids), "dealt");
        int hidden = 0; // lines: one of the group pass, and one of the pool pass unless the type decides there
        for (const QString &uuid : uuids) {
            if (!db.getPoolNodeValue(uuid, VdiVM::GroupKey).isEmpty())
                hidden += QSet<uint>{1, 3, 7}.contains(db.getPoolNodeValue(uuid, VdiVM::PoolTypeKey).toUInt()) ? 1 : 2;
        }
        QCOMPARE(log.take().filter(u"poolNode, SET HIDE"_s).size(), hidden);
    }
    for (const QString &uuid : uuids)
        QVERIFY2(db.getItemTypeByUuid(uuid + u"!"_s) == 0 || db.getPoolNodeValue(uuid, 306) == u"0"_s,
                 qPrintable(uuid));
    QString picked = u"untouched"_s;
    QTEST(db.wheelVmGroup(u"g"_s, picked), "found");
    QTEST(shown(db, uuids), "turned");
    QVERIFY(picked == u"untouched"_s ||
            (db.getPoolNodeValue(picked, 308) == u"0"_s && db.getPoolNodeValue(picked, 307) == u"g"_s));
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
        QStringList uuids;
        for (int i = 0; i < size; ++i) {
            uuids << QString::number(i);
            db.setPoolNodeValue(uuids[i], 307, u"g"_s);
            db.setPoolNodeValue(uuids[i], 306, QString::number(i * 37 % modulus + (modulus == 7 ? 0 : 1)));
            db.setPoolNodeValue(uuids[i], 305, QString::number(i % 5));
        }
        QString picked;
        QCOMPARE(db.wheelVmGroup(u"g"_s, picked), modulus == 7);
        QVERIFY2(uuids.contains(shown(db, uuids)), QByteArray::number(size) + " pools");
        db.dealVmPools();
        QVERIFY2(uuids.contains(shown(db, uuids)), QByteArray::number(size) + " pools");
        QCOMPARE(db.getItemCount(), size);
    }
}

// A lead is certain exactly if sorting puts the same pool first from whatever order.
void tst_Decisions::certainLead()
{
    struct Pool : Rules::Rank
    {
        size_t position;
    };
    QRandomGenerator random(1);
    for (int round = 0; round < 1000; ++round) {
        std::vector<Pool> pools(size_t(random.bounded(2, 7)));
        for (size_t i = 0; i < pools.size(); ++i)
            pools[i] = {{random.bounded(3u), random.bounded(3u), random.bounded(2u)}, i};
        const Rules::Lead lead = Rules::findLead(pools);
        std::set<size_t> leads;
        do {
            std::vector<Pool> sorted = pools;
            Rules::sortPools(sorted);
            leads.insert(sorted.front().position);
        } while (std::next_permutation(pools.begin(), pools.end(),
                                       [](const Pool &a, const Pool &b) { return a.position < b.position; }));
        QVERIFY2(lead.isCertain() == (leads.size() == 1), "round " + QByteArray::number(round));
        QVERIFY2(std::includes(lead.contenders.begin(), lead.contenders.end(), leads.begin(), leads.end()),
                 "round " + QByteArray::number(round));
        QVERIFY(!lead.isCertain() || lead.contenders.size() == 1);
    }
}

static Rules::Rank rankOf(VmPoolNode *pool)
{
    const auto number = [pool](int key) { return pool->getValue(key).toUInt(); };
    return pool
               ? Rules::Rank{number(VdiVM::FailedToConnectKey), number(VdiVM::PreferredKey), number(VdiVM::PriorityKey)}
               : Rules::Rank{1, 0, 0};
}

// The order is that of qSort() with the rule, whatever the flags.
void tst_Decisions::sortedByRule()
{
    QRandomGenerator random(1);
    for (int size = 0; size < 60; ++size) {
        QList<VmPoolNode *> pools;
        for (int i = 0; i < size; ++i) {
            pools << (random.bounded(8) == 0 ? nullptr : new VmPoolNode);
            for (const int key : {VdiVM::PriorityKey, VdiVM::FailedToConnectKey, VdiVM::PreferredKey}) {
                if (pools[i])
                    pools[i]->setValue(key, QString::number(random.bounded(4)));
            }
        }
        QList<VmPoolNode *> expected = pools;
        QT_WARNING_PUSH
        QT_WARNING_DISABLE_DEPRECATED
        qSort(expected.begin(), expected.end(), [](VmPoolNode *a, VmPoolNode *b) {
            return Rules::precedence(rankOf(a), rankOf(b)) != Rules::Precedence::None;
        });
        QT_WARNING_POP
        sortPools(pools);
        for (int i = 0; i < size; ++i)
            QVERIFY2(pools[i] == expected[i], QByteArray::number(size) + " pools, place " + QByteArray::number(i));
        qDeleteAll(pools);
    }

    VmPoolNode a, b;
    b.setValue(VdiVM::PriorityKey, u"1"_s);
    QList<VmPoolNode *> withNull{nullptr, &a, nullptr, &b};
    sortPools(withNull);
    QCOMPARE(withNull, QList<VmPoolNode *>({&b, &a, nullptr, nullptr}));
}

QTEST_GUILESS_MAIN(tst_Decisions)
#include "tst_decisions.moc"
