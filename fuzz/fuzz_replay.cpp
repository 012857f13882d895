// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// Plays an input as a feed, line by line, as the replay program does, and draws what is stored in the end.

#include "feed/feedplayer.h"
#include "feed/feedreader.h"
#include "feed/json.h"
#include "fuzztarget.h"
#include "replay/tree.h"

#include <QtCore/QBuffer>
#include <QtCore/QJsonDocument>

static void require(bool right, const char *what)
{
    if (right)
        return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FeedPlayer player;
    QByteArray feed(reinterpret_cast<const char *>(data), int(size));
    QBuffer file(&feed);
    file.open(QIODevice::ReadOnly);
    FeedReader reader(file);
    for (FeedLine line; reader.next(line);) {
        const Outcome outcome = player.play(line);
        const bool isGood = line.kind == FeedLine::Call && outcome.error.isEmpty();
        require(outcome.answer.isUndefined() || isGood, "an answer without a good call");
        const QByteArray json = compactJson(outcome.answer.isUndefined() ? QJsonValue() : outcome.answer).toUtf8();
        require(QJsonDocument::fromJson('[' + json + ']').isArray(), "an answer that is no JSON");
        calls += isGood;
    }
    drawTree(readTree(player), player);
    return 0;
}
