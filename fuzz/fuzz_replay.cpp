// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// Plays an input as a feed, line by line, writes what came of each call and compares it with itself, and draws what is
// stored in the end.

#include "analysis/check.h"
#include "feed/feedreader.h"
#include "fuzztarget.h"
#include "text/tree.h"

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
    QByteArray feed(reinterpret_cast<const char *>(data), int(size));
    QBuffer file(&feed);
    file.open(QIODevice::ReadOnly);
    FeedReader reader(file);
    for (FeedLine line; reader.next(line);) {
        const Outcome outcome = player.play(line);
        const bool isGood = line.kind == FeedLine::Call && outcome.error.isEmpty();
        require(outcome.answer.isUndefined() || isGood, "an answer without a good call");
        check.compare(line, outcome);
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
    for (const int number : databases)
        drawTree(player.stored(number));
    return 0;
}
