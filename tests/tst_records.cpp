// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include <vmdatabase/remoteapp.h>
#include <vmdatabase/vmdatabase.h>
#include <vmdatabase/vmpoolnode.h>

#include <algorithm>
#include <limits>
#include <utility>

class tst_Records : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void values();
    void dump();
    void item();
    void poolItems();
    void poolOwnsItems();
    void activeItem();
    void remoteApp();
    void metaObjects();
};

// Every int is a key of its own, whatever else is stored and in whichever order it came.
void tst_Records::values()
{
    VmNode node;
    VmPolicy policy;
    QList<int> keys{std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};
    for (int key = -70; key <= 70; ++key)
        keys << key;
    QMap<int, QString> expected;
    for (const char *round : {"first", "again, backwards"}) {
        for (const int key : std::as_const(keys)) {
            QVERIFY2(isNull(node.getValue(key)) == !expected.contains(key), QByteArray::number(key));
            expected[key] = QString::fromLatin1(round) + QString::number(key);
            node.setValue(key, expected[key]);
            policy.setValue(key, expected[key]);
        }
        for (const int key : std::as_const(keys)) {
            QCOMPARE(node.getValue(key), expected[key]);
            QCOMPARE(policy.getValue(key), expected[key]);
        }
        std::reverse(keys.begin(), keys.end());
    }
    node.resetValue(-31);
    QVERIFY(isEmptyNotNull(node.getValue(-31)) && node.getValue(0) == expected[0] && node.getValue(31) == expected[31]);
    policy.clear();
    policy.clear();
    QVERIFY(isNull(policy.getValue(0)));
}

// What goes through the local 8-bit encoding and back, up to NUL; and that only a pool prints as one.
void tst_Records::dump()
{
    LogCapture log;
    VmNode node;
    QCOMPARE(node.nodeType, 0);
    const QString value = u"caf\u00e9 \"x\"\n"_s + QChar(0) + u"lost"_s;
    node.setValue(3, value);
    for (const int type : {0, 1, 2}) {
        node.nodeType = type;
        node.printContent();
        QString text;
        QDebug(&text) << (type == 1 ? u"|(pool)== Name: "_s : u"|(vm)==== Name: "_s) +
                             QString::fromUtf8(value.toLocal8Bit().constData()) + u";"_s;
        QCOMPARE(log.take(), QStringList(u"I: [ printContent ] VmNode content =  "_s + text.trimmed()));
        QVERIFY(!text.contains(u"lost"_s));
    }
}

void tst_Records::item()
{
    VmPoolNode pool;
    pool.setValue(3, u"Office"_s);
    auto *item = new VmItemNode(&pool);
    QCOMPARE(item->nodeType, 2);
    QCOMPARE(item->parent(), nullptr);
    QCOMPARE(item->getValue(204), u"0"_s);
    QVERIFY(isNull(item->getValue(0)) && isNull(item->getValue(3)));
    QSet<VmPolicy *> policies;
    for (const int type : {0, 1, 2, 3, 4, 6, 7, 8, 9, 10}) {
        VmPolicy *policy = item->getVmPolicy(type);
        QVERIFY2(policy && isNull(policy->getValue(0)), QByteArray::number(type));
        QVERIFY2(item->getVmPolicy(type) == policy, QByteArray::number(type));
        policies << policy;
    }
    QCOMPARE(policies.size(), 10);
    for (const int type : {5, -1, 11, std::numeric_limits<int>::min()})
        QVERIFY2(!item->getVmPolicy(type), QByteArray::number(type));

    VmPolicy *left = item->getVmPolicy(10);
    left->setValue(1, u"kept"_s);
    LiveObjects::ownLeftPolicies();
    delete item;
    QCOMPARE(left->getValue(1), u"kept"_s);
}

void tst_Records::poolItems()
{
    VmPoolNode pool;
    QCOMPARE(pool.nodeType, 0);
    QCOMPARE(pool.getItemCount(), 1);
    QCOMPARE(pool.getItemList(), QList<VmNode *>({&pool}));
    QCOMPARE(pool.getVmItemList(), QList<VmNode *>());
    QCOMPARE(pool.getDynamicVmItem(), nullptr);

    auto *b = new VmNode;
    auto *a = new VmNode;
    pool.appendVmItem(b, u"b"_s);
    QCOMPARE(pool.getDynamicVmItem(), b);
    pool.appendVmItem(a, u"a"_s);
    pool.appendVmItem(nullptr, u"B"_s); // ascending by code unit
    QCOMPARE(pool.getDynamicVmItem(), nullptr);
    QCOMPARE(pool.getItemCount(), 4);
    QCOMPARE(pool.getVmItemList(), QList<VmNode *>({nullptr, a, b}));
    QCOMPARE(pool.getItemList(), QList<VmNode *>({nullptr, a, b, &pool}));
    QCOMPARE(pool.getVmItem(u"a"_s), a);
    QCOMPARE(pool.getVmItem(u"A"_s), nullptr);
    QVERIFY(pool.isExistVmItem(u"B"_s) && !pool.isExistVmItem(u"c"_s));
    pool.removeVmItem(u"B"_s); // a null pointer stays
    QCOMPARE(pool.getItemCount(), 4);
}

void tst_Records::poolOwnsItems()
{
    QStringList deleted;
    const auto make = [&deleted](const QString &name) {
        auto *item = new VmNode;
        connect(item, &QObject::destroyed, item, [&deleted, name] { deleted << name; });
        return item;
    };
    auto pool = std::make_unique<VmPoolNode>();
    VmNode *replaced = make(u"replaced"_s);
    pool->appendVmItem(replaced, u"x"_s);
    pool->appendVmItem(make(u"removed"_s), u"x"_s);
    QCOMPARE(pool->getItemCount(), 2);
    pool->removeVmItem(u"unknown"_s);
    pool->removeVmItem(u"x"_s);
    QVERIFY(!pool->isExistVmItem(u"x"_s));
    QCOMPARE(std::exchange(deleted, {}), QStringList(u"removed"_s));

    // What is connected to an item may change the pool.
    VmNode *item = make(u"item"_s);
    connect(item, &QObject::destroyed, item, [&pool] {
        pool->appendVmItem(nullptr, u"x"_s);
        pool->clearVmItem();
    });
    pool->appendVmItem(item, u"x"_s);
    pool->removeVmItem(u"x"_s);
    QCOMPARE(pool->getItemCount(), 1);
    QCOMPARE(std::exchange(deleted, {}), QStringList(u"item"_s));
    for (const QString &uuid : {u"3"_s, u"1"_s, u"2"_s})
        pool->appendVmItem(make(uuid), uuid);
    pool->appendVmItem(nullptr, u"0"_s);
    pool->clearVmItem();
    QCOMPARE(pool->getItemCount(), 1);
    QCOMPARE(std::exchange(deleted, {}), QStringList({u"1"_s, u"2"_s, u"3"_s}));
    pool->appendVmItem(make(u"last"_s), u"y"_s);
    pool.reset();
    QCOMPARE(std::exchange(deleted, {}), QStringList(u"last"_s));
    delete replaced;
}

void tst_Records::activeItem()
{
    VmPoolNode pool;
    QVERIFY(!pool.haveActiveItem());
    pool.appendVmItem(nullptr, u"0"_s);
    pool.appendVmItem(new VmNode, u"1"_s);
    pool.appendVmItem(new VmNode, u"2"_s);
    QVERIFY(!pool.haveActiveItem());
    const auto becomesActive = [&pool](const char *text) {
        pool.getVmItem(u"2"_s)->setValue(204, QString::fromLatin1(text));
        return pool.haveActiveItem();
    };
    for (const char *text : {"1", "01", " +1 "})
        QVERIFY2(becomesActive(text), text);
    for (const char *text : {"0", "2", "-1", "true", "", "1.0", "4294967297", "0x1"})
        QVERIFY2(!becomesActive(text), text);
}

void tst_Records::remoteApp()
{
    QObject parent;
    auto *app = new RemoteApp(u"id"_s, &parent);
    QCOMPARE(app->getValue(1), u"id"_s);
    app->setValue(1, QString());
    app->setValue(-3, u"x"_s);
    QCOMPARE(app->getValue(1) + app->getValue(-3), u"idx"_s);
    QVERIFY(isEmptyNotNull(app->getValue(2)));
    QVERIFY(isEmptyNotNull(RemoteApp(QString(), nullptr).getValue(1)));
    const QJsonObject &policy = app->getControlPolicy();
    QVERIFY(policy.isEmpty());
    app->setControlPolicy({{u"a"_s, 1}, {u"b"_s, 2}});
    app->setControlPolicy({{u"c"_s, 3}});
    QCOMPARE(policy, QJsonObject({{u"c"_s, 3}}));
}

void tst_Records::metaObjects()
{
    const auto check = [](const QMetaObject &meta, const char *name, const QMetaObject &base) {
        QCOMPARE(meta.className(), name);
        QCOMPARE(meta.superClass(), &base);
        QCOMPARE(meta.methodCount() + meta.propertyCount(), base.methodCount() + base.propertyCount());
    };
    check(VmNode::staticMetaObject, "VmNode", QObject::staticMetaObject);
    check(VmPoolNode::staticMetaObject, "VmPoolNode", VmNode::staticMetaObject);
    check(VmItemNode::staticMetaObject, "VmItemNode", VmNode::staticMetaObject);
    check(RemoteApp::staticMetaObject, "RemoteApp", QObject::staticMetaObject);

    const QMetaObject &meta = VmDatabase::staticMetaObject;
    QCOMPARE(meta.className(), "VmDatabase");
    QCOMPARE(meta.methodCount() - QObject::staticMetaObject.methodCount(), 1);
    QCOMPARE(meta.method(meta.methodOffset()).methodSignature(), QByteArray("remoteAppsUpdated()"));
    QCOMPARE(meta.method(meta.methodOffset()).methodType(), QMetaMethod::Signal);
}

QTEST_GUILESS_MAIN(tst_Records)
#include "tst_records.moc"
