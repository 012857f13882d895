// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// Plays an input as a feed, line by line, as the replay program does, and draws what is stored in the end.

#include "feed/feedplayer.h"
#include "fuzztarget.h"
#include "replay/tree.h"

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
    const QByteArray feed(reinterpret_cast<const char *>(data), int(size));
    for (const QByteArray &line : feed.split('\n')) {
        const FeedPlayer::Line played = player.play(line);
        const Outcome &outcome = played.outcome;
        require(outcome.answer.isUndefined() || (outcome.error.isEmpty() && !played.operation.isEmpty()),
                "an answer without a good call");
        const QByteArray json = compactJson(outcome.answer.isUndefined() ? QJsonValue() : outcome.answer).toUtf8();
        require(QJsonDocument::fromJson('[' + json + ']').isArray(), "an answer that is no JSON");
        calls += outcome.error.isEmpty() && !played.operation.isEmpty();
    }
    drawTree(readTree(player), player);
    return 0;
}
