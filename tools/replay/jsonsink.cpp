// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "sink.h"

#include "output.h"
#include "text/checktext.h"
#include "text/describe.h"
#include "text/dump.h"
#include "text/explanationtext.h"
#include "text/historytext.h"
#include "text/linttext.h"
#include "text/tree.h"

static void printCall(const Played &played, const char *member, const QJsonValue &value)
{
    QJsonArray arguments = played.line.call;
    arguments.removeFirst();
    QJsonObject object = toJson(played.place);
    object[QStringLiteral("operation")] = played.line.operation();
    object[QStringLiteral("arguments")] = arguments;
    object[QLatin1String(member)] = value;
    if (played.line.database != 1)
        object[QStringLiteral("database")] = played.line.database;
    printLine(object);
}

namespace {

class JsonSink : public Sink
{
public:
    void beginCase(const Played &) override {}
    void putAnswer(const Played &played) override { printCall(played, "answer", played.outcome.answer); }
    void putSignal(const Played &played, const QString &name) override { printCall(played, "signal", name); }
    void putChanges(const Played &played) override
    {
        QJsonArray array;
        for (const Change &change : played.outcome.changes)
            array << toJson(change);
        printCall(played, "changes", array);
    }
    void put(const Played &played, const Difference &difference) override
    {
        printCall(played, "difference", toText(difference));
    }
    void putUnfinished(const Played &played) override
    {
        QJsonObject object = toJson(played.place);
        object[QStringLiteral("unfinished")] = describeUnfinished(played.line.about);
        printLine(object);
    }
    void putChecked(qint64 calls, const Check &check) override
    {
        QJsonObject json{{QStringLiteral("calls"), calls},
                         {QStringLiteral("compared"), check.compared()},
                         {QStringLiteral("differ"), check.different()}};
        if (!check.notLogged().isEmpty())
            json[QStringLiteral("notLogged")] = QJsonArray::fromStringList(check.notLogged());
        printLine({{QStringLiteral("check"), json}});
    }
    void put(const Finding &finding) override { printLine(toJson(finding)); }
    void putOverlap(const Played &played, const QString &text) override { printCall(played, "forbiddenOverlap", text); }
    void putLinted(qint64 count, const Lint &) override
    {
        printLine({{QStringLiteral("lint"), QJsonObject{{QStringLiteral("findings"), count}}}});
    }
    void put(const History::Entry &entry) override { printLine(toJson(entry)); }
    void put(const Explanation &explanation, const FeedPlayer &player) override
    {
        const auto storedNow = [&](int number) -> const StoreCopy & { return player.stored(number); };
        printLine({{QStringLiteral("explain"), toJson(explanation, storedNow)}});
    }
    void putTrees(const FeedPlayer &player) override
    {
        putEach(player, "tree", [](const StoreCopy &stored) { return readTree(stored); });
    }
    void putDumps(const FeedPlayer &player, const QString &pool) override
    {
        putEach(player, "dump", [&](const StoreCopy &stored) { return readDump(stored, pool); });
    }

private:
    template <typename Read>
    static void putEach(const FeedPlayer &player, const char *member, Read read)
    {
        const QList<int> databases = player.databases();
        for (const int number : databases)
            printLine({{QStringLiteral("database"), number}, {QLatin1String(member), read(player.stored(number))}});
    }
};

} // namespace

std::unique_ptr<Sink> makeJsonSink()
{
    return std::make_unique<JsonSink>();
}
