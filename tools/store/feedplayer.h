// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "feed/feedline.h"
#include "storecopy.h"

#include <vmdatabase/vmdatabase.h>

#include <map>
#include <memory>

/// What came of one call.
struct Outcome
{
    QJsonValue answer = QJsonValue(QJsonValue::Undefined); ///< Undefined if the operation has none.
    QStringList log;                                       ///< As FeedLine has it.
    QStringList emitted;
    QVector<Change> changes; ///< Only if the player follows changes.
    QString error;           ///< Why the call could not be made; nothing has changed then.
    qint64 nanoseconds = 0;  ///< How long the call itself took.
};

/// Keeps the library's log lines from the client's message handler while it lives: looking at a store is not part of
/// what the feed did.
class QuietLog
{
    Q_DISABLE_COPY(QuietLog)

public:
    QuietLog();
    ~QuietLog();

    /// The lines since it was made, each with its severity.
    QStringList lines() const { return m_lines; }

private:
    QStringList m_lines;
    QStringList *m_previous;
};

/// Plays the calls of a feed into databases of its own, one after the other, on the thread that asks. While a player
/// lives, the library's log lines go to the outcome of the call that wrote them.
class FeedPlayer
{
    Q_DISABLE_COPY(FeedPlayer)

public:
    enum Following {
        IgnoresChanges,
        FollowsChanges, ///< Finds what each call changed, and knows everything that is stored.
    };
    explicit FeedPlayer(Following following = IgnoresChanges);
    ~FeedPlayer();

    /// Plays one line. A call is made, a case begins with empty databases, and all else does nothing.
    Outcome play(const FeedLine &line);

    /// The numbers of the databases that the feed has mentioned and not destroyed.
    QList<int> databases() const;

    /// One of them. With any other number a new one begins.
    VmDatabase &database(int number = 1) { return open(number).database; }

    /// Whether the feed has closed it, which leaves nothing to look at.
    bool isClosed(int number = 1) const;

    /// What is stored in it; nothing unless the player follows changes, and nothing in one that is not there.
    const StoreCopy &stored(int number = 1) const;

private:
    struct Database
    {
        VmDatabase database;
        bool isClosed = false;
        StoreCopy copy;
    };
    Database &open(int number);

    const Following m_following;
    std::map<int, std::unique_ptr<Database>> m_databases;
    QStringList *m_emitted = nullptr; // of the call that is being made
};
