// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include "feed/feedreader.h"
#include "feed/json.h"
#include "operations/operations.h"
#include "text/describe.h"
#include "text/dump.h"
#include "text/explanationtext.h"
#include "text/historytext.h"
#include "text/linttext.h"
#include "text/tree.h"

#include <QtCore/QBuffer>

#include <random>

class tst_Feed : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        runDeferredDeletions();
        qDeleteAll(LiveObjects::ofType<VmItemNode>()); // left behind under an empty pool uuid
    }

    void copyIsTheStore_data();
    void copyIsTheStore();
    void sinceThen();
    void views_data();
    void views();
};

static const QStringList uuids{u"a"_s, u"b"_s, u"c"_s, u"d"_s, QString(u""_s), QString()};
static const QList<int> keys{0, 1, 4, 10, 204, 306, 307, 308, -1};
static const QList<int> types{0, 1, 2, 5, 10, 11}; // of nodes and policies

/// Any call, with arguments that often meet what is stored. Of every thirtieth the uuid itself is overwritten.
static QJsonArray anyCall(std::mt19937 &random)
{
    const auto below = [&](int limit) { return int(random() % unsigned(limit)); };
    static const QVector<Operation> operations = [] {
        QVector<Operation> all = allOperations().mid(3); // not to open or close the database
        for (const Operation &operation : std::as_const(all)) {
            for (int i = 0; i < 5 && operation.name.startsWith(u"set"_s); ++i)
                all << operation;
        }
        return all;
    }();
    const Operation &operation = operations.at(below(operations.size()));
    QJsonArray call{operation.name};
    for (const QString &parameter : operation.parameters) {
        if (parameter == u"key"_s)
            call << keys[below(30) == 0 ? 0 : 1 + below(keys.size() - 1)];
        else if (parameter == u"type"_s)
            call << (below(3) == 0 ? types[below(types.size())] : 2);
        else if (parameter == u"index"_s)
            call << below(10);
        else if (parameter == u"policy"_s)
            call << QJsonObject{{uuids[below(3)], below(2)}};
        else
            call << toJson(below(12) == 0 ? u"1"_s : uuids[below(uuids.size())]);
    }
    return call;
}

/// All that is answered about the uuids and keys above, one line each: by a database, or by what is known of it.
template <typename Source>
static QStringList readAnswers(Source source)
{
    QStringList answers = source.nodes();
    const auto add = [&](const QString &what, int key, const QString &answer) {
        answers << what + u' ' + QString::number(key) + u' ' + compactJson(toJson(answer));
    };
    for (const QString &uuid : uuids.mid(0, 5)) {
        for (const int key : keys) {
            if (source.pools().contains(uuid))
                add(u"pool "_s + uuid, key, source.pool(uuid, key));
            for (const QString &item : source.pools().contains(uuid) ? uuids.mid(0, 5) : QStringList()) {
                add(uuid + u'/' + item, key, source.item(uuid, item, key));
                for (const int type : types)
                    add(u"policy of "_s + item, type * 1000 + key, source.policy(uuid, item, type, key));
            }
            if (source.remoteApps().contains(uuid))
                add(u"remote "_s + uuid + compactJson(source.control(uuid)), key, source.remote(uuid, key));
            add(u"SaaS "_s + uuid, key, source.saas(uuid, key));
        }
    }
    return answers;
}

struct FromLibrary
{
    VmDatabase &db;
    QStringList nodes() const
    {
        QStringList nodes;
        for (int i = 0; i < db.getItemCount(); ++i)
            nodes << QString::number(db.getItemType(i)) + db.getItemUuid(i);
        return nodes;
    }
    QStringList pools() const { return db.getVmPoolNameList(); }
    QString pool(const QString &pool, int key) const { return db.getPoolNodeValue(pool, key); }
    QString item(const QString &pool, const QString &item, int key) const
    {
        return db.getNodeValue(pool, item, VdiVM::ItemNode, key);
    }
    QString policy(const QString &pool, const QString &item, int type, int key) const
    {
        return db.getPolicyValue(pool, item, VdiVM::PolicyType(type), key);
    }
    QStringList remoteApps() const { return db.getAppsIdList(); }
    QString remote(const QString &id, int key) const { return db.getRemoteAppValue(id, key); }
    QJsonObject control(const QString &id) const { return db.getRemoteAppControlPolicy(id); }
    QString saas(const QString &id, int key) const { return db.getSaasAppValue(id, key); }
};

/// Answers what the library would.
struct FromCopy
{
    const StoreCopy &copy;
    QStringList nodes() const
    {
        QStringList nodes;
        for (const StoreCopy::Pool &pool : copy.pools) {
            for (const StoreCopy::Item &item : pool.items)
                nodes << u'2' + item.values.value(0);
            nodes << u'1' + pool.values.value(0);
        }
        return nodes;
    }
    QStringList pools() const { return copy.pools.keys(); }
    QString pool(const QString &pool, int key) const { return copy.pools[pool].values.value(key); }
    QString item(const QString &pool, const QString &item, int key) const
    {
        const auto &items = copy.pools[pool].items;
        return items.contains(item) ? items[item].values.value(key) : u""_s;
    }
    QString policy(const QString &pool, const QString &item, int type, int key) const
    {
        const auto &items = copy.pools[pool].items;
        const bool hasRecord = items.contains(item) && !item.isEmpty() && type != 5 && type != 11;
        return hasRecord ? items[item].policies.value(type).value(key) : u""_s;
    }
    QStringList remoteApps() const { return copy.remoteApps.keys(); }
    QString remote(const QString &id, int key) const { return copy.remoteApps[id].values.value(key, u""_s); }
    QJsonObject control(const QString &id) const { return copy.remoteApps[id].controlPolicy; }
    QString saas(const QString &id, int key) const { return copy.saasApps.value(id).values.value(key, u""_s); }
};

/// What changes add up to, beginning with nothing.
static void apply(const QVector<Change> &changes, QMap<QString, QString> &sum)
{
    for (const Change &change : changes) {
        const QString record = QString::number(change.table) + change.id + u'/';
        const QString name = record + (change.item ? u'+' + *change.item : QString()) + u'|';
        if (change.kind == Change::Added)
            sum[name] = QString();
        else if (change.kind != Change::Removed)
            sum[name + describeAspect(change)] = change.after;
        for (auto it = sum.begin(); change.kind == Change::Removed && it != sum.end();)
            it = it.key().startsWith(change.item ? name : record) ? sum.erase(it) : std::next(it);
        if (describeAspect(change) == u"UuidKey"_s && change.after == change.item.value_or(change.id))
            sum.remove(name + u"UuidKey"_s); // goes without saying
    }
}

static QVector<Change> changesTo(const StoreCopy &copy)
{
    QVector<Change> changes;
    const auto add = [&](Change change, const StoreCopy::Values &values) {
        for (auto it = values.cbegin(); it != values.cend(); ++it) {
            change.key = it.key();
            change.after = it.value();
            changes << change;
        }
    };
    for (auto pool = copy.pools.cbegin(); pool != copy.pools.cend(); ++pool) {
        changes << Change{Change::Pools, Change::Added, pool.key(), {}, 0, 0, {}, {}};
        add({Change::Pools, Change::Value, pool.key(), {}, 0, 0, {}, {}}, pool->values);
        for (auto item = pool->items.cbegin(); item != pool->items.cend(); ++item) {
            changes << Change{Change::Pools, Change::Added, pool.key(), item.key(), 0, 0, {}, {}};
            add({Change::Pools, Change::Value, pool.key(), item.key(), 0, 0, {}, {}}, item->values);
            for (auto policy = item->policies.cbegin(); policy != item->policies.cend(); ++policy)
                add({Change::Pools, Change::PolicyValue, pool.key(), item.key(), policy.key(), 0, {}, {}}, *policy);
        }
    }
    for (const auto table : {Change::RemoteApps, Change::SaasApps}) {
        const auto &apps = table == Change::RemoteApps ? copy.remoteApps : copy.saasApps;
        for (auto app = apps.cbegin(); app != apps.cend(); ++app) {
            changes << Change{table, Change::Added, app.key(), {}, 0, 0, {}, {}};
            add({table, Change::Value, app.key(), {}, 0, 0, {}, {}}, app->values);
            if (!app->controlPolicy.isEmpty())
                changes << Change{table, Change::ControlPolicy,          app.key(), {}, 0, 0,
                                  {},    compactJson(app->controlPolicy)};
        }
    }
    return changes;
}

void tst_Feed::copyIsTheStore_data()
{
    QTest::addColumn<uint>("seed");
    for (uint seed = 1; seed <= 8; ++seed)
        QTest::addRow("seed %u", seed) << seed;
}

/// After any calls the copy is what the library answers, and the changes add up to it.
void tst_Feed::copyIsTheStore()
{
    QFETCH(uint, seed);
    std::mt19937 random(seed);
    FeedPlayer player(FeedPlayer::FollowsChanges);
    QMap<QString, QString> sum;
    QByteArray feed;
    for (int i = 1; i <= 600; ++i) {
        LiveObjects::ownLeftPolicies();
        FeedLine line;
        line.kind = FeedLine::Call;
        line.call = i == 599   ? QJsonArray{u"clearRemoteAppList"_s} // or their records stay allocated
                    : i == 600 ? QJsonArray{u"clear"_s}
                               : anyCall(random);
        feed += formatLine(line) + '\n';
        const Outcome outcome = player.play(line);
        QVERIFY2(outcome.error.isEmpty(), qPrintable(outcome.error));
        apply(outcome.changes, sum);
        if (i % 20 != 0)
            continue;
        QuietLog quiet;
        const QStringList answers = readAnswers(FromLibrary{player.database()});
        const QStringList known = readAnswers(FromCopy{player.stored()});
        for (int j = 0; j < std::max(answers.size(), known.size()); ++j)
            QVERIFY2(answers.value(j) == known.value(j),
                     ("library " + answers.value(j).toUtf8() + ", copy " + known.value(j).toUtf8() + ", feed:\n" + feed)
                         .constData());
        QMap<QString, QString> whole;
        apply(changesTo(player.stored()), whole);
        for (auto it = whole.cbegin(); it != whole.cend(); ++it)
            QVERIFY2(sum.value(it.key(), u"nothing"_s) == it.value(),
                     ("stored: " + it.key().toUtf8() + ", feed:\n" + feed).constData());
        QCOMPARE(sum.size(), whole.size());
    }
}

/// "Since then" is empty only if the same decision would write the same values and rank alike.
void tst_Feed::sinceThen()
{
    static const QList<QJsonArray> decisions{{u"dealVmPools"_s},
                                             {u"dealVmGroupPool"_s},
                                             {u"wheelVmGroup"_s, u"G"_s},
                                             {u"wheelVmGroup"_s, u""_s},
                                             {u"setPoolNodeValue"_s, u"a"_s, VdiVM::HiddenKey, u"0"_s}};
    std::mt19937 random(1);
    const auto pick = [&](const auto &list) { return *(std::begin(list) + random() % std::size(list)); };
    const auto anyChange = [&]() -> QJsonArray {
        static constexpr int deciding[] = {VdiVM::AllowMultiDynamicKey, VdiVM::PoolTypeKey, VdiVM::PriorityKey,
                                           VdiVM::FailedToConnectKey, VdiVM::PreferredKey};
        const QString pool = pick(QStringList{u"a"_s, u"b"_s, u"c"_s});
        switch (random() % 6) {
        case 0:
            return {u"setPoolNodeValue"_s, pool, VdiVM::GroupKey, pick(QStringList{u"G"_s, u"H"_s, u""_s})};
        case 1:
            return {u"setNodeValue"_s, pool, u"i"_s, 2, VdiVM::ItemActiveKey, pick(QStringList{u"0"_s, u"1"_s})};
        case 2:
            return {pick(QStringList{u"removeNode"_s, u"removeChildrenByParentUuid"_s}), pool};
        default:
            return {u"setPoolNodeValue"_s, pool, pick(deciding), pick(QStringList{u"0"_s, u"1"_s, u"2"_s, u"3"_s})};
        }
    };
    const auto order = [](const Ranking &ranking) {
        QStringList pools;
        for (const RankedPool &pool : ranking.pools)
            pools << pool.uuid;
        return pools;
    };
    int emptyCount = 0, otherCount = 0;
    for (int feed = 0; feed < 4000; ++feed) {
        FeedPlayer player(FeedPlayer::FollowsChanges);
        Explanation explanation(u"a"_s);
        QByteArray played;
        const auto play = [&](const QJsonArray &call) {
            FeedLine line;
            line.kind = FeedLine::Call;
            line.call = call;
            played += formatLine(line) + '\n';
            LiveObjects::ownLeftPolicies();
            const Outcome outcome = player.play(line);
            explanation.follow({{u"f"_s, 1}, line, outcome, player.stored()});
        };
        for (int i = 0; i < 12; ++i)
            play(anyChange());
        play(pick(decisions));
        for (int i = int(random() % 4); i > 0; --i)
            play(anyChange());
        if (explanation.databases().isEmpty())
            continue;
        const PoolExplanation before = explanation.at(1, player.stored());
        if (before.removed || !before.decision || !before.decision->kind)
            continue;
        ++(before.later.isEmpty() ? emptyCount : otherCount);
        if (!before.later.isEmpty())
            continue;
        const QString failed = player.stored().pools[u"a"_s].values.value(VdiVM::FailedToConnectKey);
        play(before.decision->event.call);
        const PoolExplanation after = explanation.at(1, player.stored());
        QVERIFY2(after.hidden == before.hidden, played);
        QVERIFY2(player.stored().pools[u"a"_s].values.value(VdiVM::FailedToConnectKey) == failed, played);
        QVERIFY2(order(after.decision->ranking) == order(before.decision->ranking), played);
    }
    QVERIFY2(emptyCount > 50 && otherCount > 50, QByteArray::number(emptyCount) + ' ' + QByteArray::number(otherCount));
}

/// What one of the views makes of a feed: "history p/i:3" for example.
static QString view(const QString &what, const QByteArray &feed)
{
    const QString kind = what.section(u' ', 0, 0);
    const QString argument = what.section(u' ', 1);
    QBuffer device;
    device.setData(feed);
    device.open(QIODevice::ReadOnly);
    FeedReader reader(device);
    FeedPlayer player(FeedPlayer::FollowsChanges);
    Explanation explanation(argument);
    History history(argument);
    Lint lint;
    QStringList lines;
    const auto json = [](const QJsonValue &value) { return compactJson(value); };
    for (FeedLine line; reader.next(line);) {
        LiveObjects::ownLeftPolicies();
        const Outcome outcome = player.play(line);
        if (!outcome.error.isEmpty())
            return outcome.error;
        const PlayedCall played{{u"f"_s, reader.lineNumber()}, line, outcome, player.stored(line.database)};
        explanation.follow(played);
        for (const Change &change : outcome.changes) {
            if (kind == u"diff"_s || kind == u"diff-json"_s)
                lines << toText(played.place) + u' ' +
                             (kind == u"diff"_s ? describeChange(change) : json(toJson(change)));
        }
        for (const History::Entry &entry : history.follow(played)) {
            if (kind == u"history"_s || kind == u"history-json"_s)
                lines << (kind == u"history"_s ? toText(entry) : json(toJson(entry)));
        }
        for (const Finding &finding : lint.follow(played)) {
            if (kind == u"lint"_s || kind == u"lint-json"_s)
                lines << (kind == u"lint"_s ? toText(finding) : json(toJson(finding)));
        }
    }
    const StoreCopy &stored = player.stored();
    const QString pool = argument.isEmpty() ? QString() : argument;
    const auto now = [&player](int number) -> const StoreCopy & { return player.stored(number); };
    const QString whole = kind == u"explain"_s        ? toText(explanation, now)
                          : kind == u"explain-json"_s ? json(toJson(explanation, now))
                          : kind == u"tree"_s         ? drawTree(stored)
                          : kind == u"tree-json"_s    ? json(readTree(stored))
                          : kind == u"dump"_s         ? drawDump(stored, pool)
                          : kind == u"dump-json"_s    ? json(readDump(stored, pool))
                                                      : QString();
    if (kind == u"lint"_s)
        lines += describeRepeated(lint);
    player.database().clearRemoteAppList(); // or their records stay allocated
    return (lines.join(u'\n') + u'\n' + whole).trimmed();
}

/// "== name" begins a feed, "> view" what that view says of it.
void tst_Feed::views_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<QByteArray>("feed");
    QTest::addColumn<QString>("expected");
    QFile file(QStringLiteral(TEST_FEEDS_DIR "/views.txt"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QStringList feeds = (u'\n' + QString::fromUtf8(file.readAll())).split(u"\n== "_s).mid(1);
    for (const QString &feed : feeds) {
        const QStringList parts = feed.split(u"\n> "_s);
        for (const QString &part : parts.mid(1)) {
            const QString what = part.section(u'\n', 0, 0);
            QTest::newRow(qPrintable(parts[0].section(u'\n', 0, 0) + u": "_s + what))
                << what << parts[0].section(u'\n', 1).toUtf8() << part.section(u'\n', 1).trimmed();
        }
    }
}

void tst_Feed::views()
{
    QFETCH(QString, what);
    QFETCH(QByteArray, feed);
    QFETCH(QString, expected);
    const QString said = view(what, feed);
    if (said != expected)
        QFAIL(qPrintable(u"\nsays\n"_s + said + u"\nexpected\n"_s + expected));
}

QTEST_GUILESS_MAIN(tst_Feed)
#include "tst_feed.moc"
