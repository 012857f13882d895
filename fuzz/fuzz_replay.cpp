// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// Plays an input as a feed, line by line. Holds what came of each call against itself, written and read, and the copy of
// what is stored against the library's store. Runs every view over it.

#include "../tests/readstore.h"
#include "feed/feedreader.h"
#include "fuzztarget.h"
#include "text/checktext.h"
#include "text/describe.h"
#include "text/dump.h"
#include "text/explanationhtml.h"
#include "text/explanationtext.h"
#include "text/historytext.h"
#include "text/linttext.h"
#include "text/tree.h"
#include "threads/overlaps.h"

#include <QtCore/QBuffer>

static void require(bool right, const char *what)
{
    if (right)
        return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

// Two lines that say the same, as far as a line is written.
static bool isSame(const FeedLine &a, const FeedLine &b)
{
    return a.kind == b.kind && a.call == b.call && a.answer == b.answer && a.log == b.log && a.emitted == b.emitted &&
           a.database == b.database && a.thread == b.thread;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FeedPlayer player(FeedPlayer::FollowsChanges);
    Check check;
    Overlaps overlaps;
    Lint lint;
    Explanation explanation(QStringLiteral("p"));
    const History history(QStringLiteral("p"));
    std::map<int, StoreCopy> sums; // what the changes add up to
    qint64 said = 0;               // by the views
    QByteArray feed(reinterpret_cast<const char *>(data), int(size));
    QBuffer file(&feed);
    file.open(QIODevice::ReadOnly);
    FeedReader reader(file);
    for (FeedLine line; reader.next(line);) {
        const Outcome outcome = player.play(line);
        const bool isGood = line.kind == FeedLine::Call && outcome.error.isEmpty();
        require(outcome.answer.isUndefined() || isGood, "an answer without a good call");
        const QVector<Difference> differences = check.compare(line, outcome);
        for (const Difference &difference : differences)
            said += toText(difference).size();
        const PlayedCall played{
            {QStringLiteral("f"), reader.lineNumber()}, line, outcome, player.stored(line.database)};
        said += overlaps.next(line, reader.lineNumber()).size();
        explanation.follow(played);
        const QVector<History::Entry> entries = history.follow(played);
        for (const History::Entry &entry : entries)
            said += toText(entry).size() + toJson(entry).size();
        const QVector<Finding> findings = lint.follow(played);
        for (const Finding &finding : findings)
            said += toText(finding).size() + toJson(finding).size();
        if (line.kind == FeedLine::Case)
            sums.clear();
        for (const Change &change : outcome.changes) {
            said += describeChange(change).size() + toJson(change).size();
            sums[line.database].apply(change);
        }
        if (isGood && player.databases().contains(line.database) && !player.isClosed(line.database)) {
            const QString stored = drawDump(readStore(player.database(line.database)));
            require(drawDump(player.stored(line.database)) == stored, "a copy that is not what is stored");
            require(drawDump(sums[line.database]) == stored, "changes that do not add up to what is stored");
        }
        calls += isGood;
        if (line.kind != FeedLine::Call)
            continue;
        require(isSame(parseLine(formatLine(line)), line), "a line that reads back as another one");
        line.answer = outcome.answer;
        line.log = outcome.log;
        line.emitted = outcome.emitted;
        require(!isGood || Check().compare(parseLine(formatLine(line)), outcome).isEmpty(),
                "an outcome that is not as it was recorded");
    }
    require(reader.position() == qint64(size), "a feed that is not read to its end");
    const QList<int> databases = player.databases();
    for (const int number : databases) {
        const StoreCopy &stored = player.stored(number);
        said += drawTree(stored).size() + readTree(stored).size() + drawDump(stored).size() + readDump(stored).size();
        const PoolExplanation explained = explanation.at(number, stored);
        said += toText(explained).size() + toJson(explained).size() + toHtml(explained).size();
    }
    said += describeRepeated(lint).size();
    require(said >= 0, "views that say nothing");
    return 0;
}
