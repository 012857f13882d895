// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "view.h"

#include "analysis/check.h"
#include "analysis/explain.h"
#include "analysis/history.h"
#include "analysis/lint.h"

#include <memory>

/// Where views put what they have found. It is text for people or JSON lines for scripts; a view need not know which.
class Sink
{
    Q_DISABLE_COPY(Sink)

public:
    Sink() = default;
    virtual ~Sink() = default;

    virtual void beginCase(const Played &played) = 0;
    virtual void putAnswer(const Played &played) = 0;
    virtual void putSignal(const Played &played, const QString &name) = 0;
    virtual void putChanges(const Played &played) = 0;
    virtual void put(const Played &played, const Difference &difference) = 0;
    virtual void putUnfinished(const Played &played) = 0;
    virtual void putChecked(qint64 calls, const Check &check) = 0;
    virtual void put(const Finding &finding) = 0;
    virtual void putOverlap(const Played &played, const QString &text) = 0;
    virtual void putLinted(qint64 count, const Lint &lint) = 0;
    virtual void put(const History::Entry &entry) = 0;
    virtual void put(const Explanation &explanation, const FeedPlayer &player) = 0;
    virtual void putTrees(const FeedPlayer &player) = 0;

    /// Everything, or one pool.
    virtual void putDumps(const FeedPlayer &player, const QString &pool) = 0;
};

std::unique_ptr<Sink> makeTextSink();
std::unique_ptr<Sink> makeJsonSink();

/// What is stored in each of the player's databases, as text.
QString drawTrees(const FeedPlayer &player);
