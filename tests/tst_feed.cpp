// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "readstore.h"
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

/// Any call, with arguments so few that they meet what is stored.
static QJsonArray anyCall(std::mt19937 &random)
{
    const auto below = [&](int limit) { return int(random() % unsigned(limit)); };
    const auto pick = [&](const auto &list) { return list[below(int(std::size(list)))]; };
    static constexpr int keys[] = {VdiVM::UuidKey, VdiVM::NameKey, VdiVM::GroupKey};
    static constexpr int types[] = {0, 5, 10}; // of policies; there is no record of type 5
    static const QStringList texts{u"a"_s, u"b"_s, u"a"_s, u"b"_s, u""_s, QString()};
    static const QVector<Operation> operations = [] {
        QVector<Operation> all;
        for (const Operation &operation : allOperations()) {
            for (int i = operation.has(Operation::Writes) ? 6 : 1; i > 0 && !operation.has(Operation::Closes); --i)
                all << operation;
        }
        return all;
    }();
    const Operation &operation = pick(operations);
    QJsonArray call{operation.name};
    for (const QString &parameter : operation.parameters) {
        if (parameter == u"key"_s)
            call << pick(keys);
        else if (parameter == u"type"_s)
            call << (operation.subject == Operation::AboutNode && below(4) > 0 ? 2 : pick(types));
        else if (parameter == u"index"_s)
            call << below(6);
        else if (parameter == u"policy"_s)
            call << QJsonObject{{u"call"_s, below(2)}};
        else
            call << toJson(pick(texts));
    }
    return call;
}

void tst_Feed::copyIsTheStore_data()
{
    QTest::addColumn<uint>("seed");
    for (uint seed = 1; seed <= 8; ++seed)
        QTest::addRow("seed %u", seed) << seed;
}

/// After every call the copy is what the library stores, and so is what the changes alone add up to.
void tst_Feed::copyIsTheStore()
{
    QFETCH(uint, seed);
    std::mt19937 random(seed);
    FeedPlayer player(FeedPlayer::FollowsChanges);
    StoreCopy sum;
    QByteArray feed;
    for (int i = 1; i <= 500; ++i) {
        LiveObjects::ownLeftPolicies();
        FeedLine line;
        line.kind = FeedLine::Call;
        line.call = i == 499   ? QJsonArray{u"clearRemoteAppList"_s} // or their records stay allocated
                    : i == 500 ? QJsonArray{u"clear"_s}
                               : anyCall(random);
        feed += formatLine(line) + '\n';
        const Outcome outcome = player.play(line);
        QVERIFY2(outcome.error.isEmpty(), qPrintable(outcome.error));
        for (const Change &change : outcome.changes)
            sum.apply(change);
        const QString stored = i < 500 ? drawDump(readStore(player.database())) : QString();
        QVERIFY2(drawDump(player.stored()) == stored,
                 feed + "\nlibrary:\n" + stored.toUtf8() + "copy:\n" + drawDump(player.stored()).toUtf8());
        QVERIFY2(drawDump(sum) == stored, feed + "\nthe changes add up to\n" + drawDump(sum).toUtf8());
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
            const Outcome outcome = player.play(line);
            LiveObjects::ownLeftPolicies();
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
        const auto failed = [&] { return player.stored().pools[u"a"_s].values.value(VdiVM::FailedToConnectKey); };
        const QString written =
            before.decision->kind == Rules::Decision::DealPools && before.decision->pool.hasActiveItem ? u"0"_s
                                                                                                       : failed();
        play(before.decision->event.call);
        const PoolExplanation after = explanation.at(1, player.stored());
        QVERIFY2(after.hidden == before.hidden, played);
        QVERIFY2(failed() == written, played);
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
