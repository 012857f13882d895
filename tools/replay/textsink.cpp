// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "sink.h"

#include "feed/json.h"
#include "output.h"
#include "text/checktext.h"
#include "text/describe.h"
#include "text/dump.h"
#include "text/explanationtext.h"
#include "text/historytext.h"
#include "text/linttext.h"
#include "text/tree.h"

QString Played::heading() const
{
    QString text = toText(place) + QStringLiteral(": ");
    if (!caseName.isEmpty())
        text += escapeControls(caseName) + QStringLiteral(": ");
    if (line.database != 1)
        text += QStringLiteral("database %1: ").arg(line.database);
    return text;
}

static QString describePlayed(const Played &played)
{
    QString text = toText(played.place) + QLatin1Char(' ');
    if (played.line.database != 1)
        text += QStringLiteral("database %1: ").arg(played.line.database);
    return text + describeCall(played.line.call);
}

template <typename Draw>
static QString drawEach(const FeedPlayer &player, Draw draw)
{
    const QList<int> databases = player.databases();
    QString text;
    for (const int number : databases) {
        if (databases != QList<int>{1}) // the usual one needs no name
            text += QStringLiteral("Database %1\n").arg(number);
        text += draw(player.stored(number));
    }
    return databases.isEmpty() ? QStringLiteral("There is no database.\n") : text;
}

QString drawTrees(const FeedPlayer &player)
{
    return drawEach(player, [](const StoreCopy &stored) { return drawTree(stored); });
}

namespace {

class TextSink : public Sink
{
public:
    void beginCase(const Played &played) override
    {
        printLine(QStringLiteral("%1 case %2").arg(toText(played.place), compactJson(played.caseName)));
    }
    void putAnswer(const Played &played) override
    {
        printLine(describePlayed(played) + QStringLiteral(" -> ") + compactJson(played.outcome.answer));
    }
    void putSignal(const Played &played, const QString &name) override
    {
        printLine(describePlayed(played) + QStringLiteral(" emits ") + name);
    }
    void putChanges(const Played &played) override
    {
        printLine(describePlayed(played));
        for (const Change &change : played.outcome.changes)
            printLine(QStringLiteral("    ") + describeChange(change));
    }
    void put(const Played &played, const Difference &difference) override
    {
        printLine(played.heading() + toText(difference));
    }
    void putUnfinished(const Played &played) override
    {
        printLine(played.heading() + QStringLiteral("did not return: ") + describeUnfinished(played.line.about));
    }
    void putChecked(qint64 calls, const Check &check) override
    {
        const QString notLogged = describeNotLogged(check);
        if (!notLogged.isEmpty())
            printLine(notLogged);
        printLine(
            QStringLiteral("%1 calls, %2 compared, %3 differ").arg(calls).arg(check.compared()).arg(check.different()));
    }
    void put(const Finding &finding) override { printLine(toText(finding)); }
    void putOverlap(const Played &played, const QString &text) override
    {
        printLine(played.heading() + QStringLiteral("threads: ") + text);
    }
    void putLinted(qint64 count, const Lint &lint) override
    {
        const QStringList lines = describeRepeated(lint);
        for (const QString &line : lines)
            printLine(line);
        printLine(counted(count, QStringLiteral("finding"), QStringLiteral("findings")));
    }
    void put(const History::Entry &entry) override { printLine(toText(entry)); }
    void put(const Explanation &explanation, const FeedPlayer &player) override
    {
        print(toText(explanation, [&](int number) -> const StoreCopy & { return player.stored(number); }));
    }
    void putTrees(const FeedPlayer &player) override { print(drawTrees(player)); }
    void putDumps(const FeedPlayer &player, const QString &pool) override
    {
        print(drawEach(player, [&](const StoreCopy &stored) { return drawDump(stored, pool); }));
    }
};

} // namespace

std::unique_ptr<Sink> makeTextSink()
{
    return std::make_unique<TextSink>();
}
