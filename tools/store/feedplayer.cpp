// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "feedplayer.h"

#include "feed/json.h"
#include "operations/operations.h"
#include "playcall.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QMutex>

#include <atomic>

// The message handler while any player or QuietLog lives. Lines of the library go to the list of the call that is being
// made, all others to the handler that was there before.
namespace {
thread_local QStringList *sink = nullptr;
QMutex usersMutex; // guards users, and only users
int users = 0;
std::atomic<QtMessageHandler> previousHandler{nullptr};
} // namespace

static void handleLine(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (!sink || qstrcmp(context.category, "default") != 0) {
        previousHandler.load()(type, context, text);
        return;
    }
    *sink << logText(type, text);
}

static void useHandler()
{
    const QMutexLocker locker(&usersMutex);
    if (++users > 1)
        return;
    previousHandler = qInstallMessageHandler(nullptr); // known before handleLine() needs it on another thread
    qInstallMessageHandler(handleLine);
}

static void releaseHandler()
{
    const QMutexLocker locker(&usersMutex);
    if (--users == 0)
        qInstallMessageHandler(previousHandler);
}

QuietLog::QuietLog()
    : m_previous(std::exchange(sink, &m_lines))
{
    useHandler();
}

QuietLog::~QuietLog()
{
    releaseHandler();
    sink = m_previous;
}

// What an event loop would do with what a call removed. Qt keeps the spent entries of its queue until it is asked for
// events of every type.
static void deleteRemoved()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::sendPostedEvents();
}

FeedPlayer::FeedPlayer(Following following)
    : m_following(following)
{
    useHandler();
}

FeedPlayer::~FeedPlayer()
{
    {
        QuietLog quiet; // the feed has ended; that its databases go is not part of it
        m_databases.clear();
        deleteRemoved();
    }
    releaseHandler();
}

FeedPlayer::Database &FeedPlayer::open(int number)
{
    std::unique_ptr<Database> &database = m_databases[number];
    if (!database) {
        database = std::make_unique<Database>();
        QObject::connect(&database->database, &VmDatabase::remoteAppsUpdated, &database->database, [this] {
            if (m_emitted)
                *m_emitted << QStringLiteral("remoteAppsUpdated");
        });
    }
    return *database;
}

QList<int> FeedPlayer::databases() const
{
    QList<int> numbers;
    numbers.reserve(int(m_databases.size()));
    for (const auto &entry : m_databases)
        numbers << entry.first;
    return numbers;
}

bool FeedPlayer::isClosed(int number) const
{
    const auto it = m_databases.find(number);
    return it != m_databases.cend() && it->second->isClosed;
}

const StoreCopy &FeedPlayer::stored(int number) const
{
    static const StoreCopy nothing;
    const auto it = m_databases.find(number);
    return it == m_databases.cend() ? nothing : it->second->copy;
}

Outcome FeedPlayer::play(const FeedLine &line)
{
    Outcome outcome;
    if (line.kind == FeedLine::Case) {
        QuietLog quiet;
        m_databases.clear();
        deleteRemoved();
    }
    if (line.kind != FeedLine::Call) {
        outcome.error = line.error;
        return outcome;
    }

    const QString name = line.operation();
    const Operation *operation = findOperation(name);
    if (!operation) {
        const QString similar = similarOperation(name);
        outcome.error = QStringLiteral("unknown operation %1, ").arg(shortJson(name)) +
                        (similar.isEmpty() ? QStringLiteral("expected a public operation of VmDatabase")
                                           : QStringLiteral("did you mean \"%1\"?").arg(similar));
        return outcome;
    }
    QStringList *const previous = std::exchange(sink, &outcome.log);
    m_emitted = &outcome.emitted;
    if (operation->life == Operation::Ordinary) {
        Database &database = open(line.database);
        if (database.isClosed && operation->has(Operation::NeedsOpen)) {
            outcome.error = QStringLiteral("%1 after clear, expected an open database").arg(name);
        } else {
            const Answer answer = playCall(*operation, database.database, line.call);
            outcome.answer = answer.value;
            outcome.error = answer.error;
            outcome.nanoseconds = answer.nanoseconds;
            database.isClosed = database.isClosed || (operation->has(Operation::Closes) && outcome.error.isEmpty());
        }
    } else if (line.call.size() > 1) {
        outcome.error = QStringLiteral("%1: expected no arguments").arg(name);
    } else if (operation->life == Operation::Constructor) {
        open(line.database);
    } else {
        Database &database = open(line.database);
        if (m_following == FollowsChanges)
            outcome.changes = database.copy.follow(line.call, database.database);
        m_databases.erase(line.database);
    }
    m_emitted = nullptr;
    if (operation->has(Operation::Removes))
        deleteRemoved();
    if (m_following == FollowsChanges && outcome.error.isEmpty() && operation->life == Operation::Ordinary) {
        QStringList unseen;
        sink = &unseen;
        outcome.changes = open(line.database).copy.follow(line.call, open(line.database).database);
    }
    sink = previous;
    return outcome;
}
