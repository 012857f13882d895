// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "feed/feedline.h"
#include "operations/operations.h"
#include "options.h"
#include "recordfile.h"
#include "threadcheck.h"

#include <vmdatabase/vdivm.h>

#include <QtCore/QJsonArray>
#include <QtCore/QObject>

#include <optional>

class RecordedCall;

/// What the recorder knows of one thread of the client. Never freed, so that a signal handler can walk all of them; a
/// thread that begins takes over what one that ended has left.
struct RecordedThread
{
    /// The thread that asks; null while it is in the library, whose calls to itself are not the client's, or if
    /// nothing is recorded.
    static RecordedThread *client();

    /// The same, in the library or not; null if it has made no call.
    static RecordedThread *current();

    QString name;
    RecordedThread *next = nullptr;
    std::atomic<bool> isUsed{true};
    std::atomic<RecordedCall *> innermost{nullptr};
    bool isInLibrary = false;

    // So that most calls need no new memory, and need not ask for their database's number.
    QByteArray spareLine;
    QByteArray sparePlace;
    const void *database = nullptr;
    int databaseNumber = 0;
    quint32 generation = 0;
};

/// While it lives, its thread is in the client's code, though inside a call.
class ClientSection
{
    Q_DISABLE_COPY(ClientSection)

public:
    explicit ClientSection(RecordedThread &thread)
        : m_thread(thread)
    {
        m_thread.isInLibrary = false;
    }
    ~ClientSection() { m_thread.isInLibrary = true; }

private:
    RecordedThread &m_thread;
};

/// All that stands in the process; made with the first use and never destroyed, since calls may be made before main()
/// and after it.
class Recorder
{
    Q_DISABLE_COPY(Recorder)

public:
    static Recorder &instance();

    const RecordOptions options;
    RecordFile file;
    ThreadCheck check;

    bool isOn() const { return m_isOn && (file.accepts() || options.checkThreads); }

    /// Knows the thread that asks from now on.
    RecordedThread *addThread();

    /// The number of a database; one that is not known gets the next one.
    int numberOf(RecordedThread &thread, void *database);
    void add(void *database); // and forgets one that was there before
    void remove(void *database);

    /// A record that is being deleted; \a name finds its uuid or id.
    void deletesPool(void *record);
    void deletesApp(void *record);

    static std::atomic<RecordedThread *> threads;

private:
    explicit Recorder(const QByteArray &variable);
    QString nameOfCurrent();

    const bool m_isOn;
    std::mutex m_mutex; // guards what follows
    QHash<void *, int> m_numbers;
    int m_lastNumber = 0;
    std::atomic<quint32> m_generation{1};
    friend struct ForkHandlers;
};

/// One call of the client's, on the stack of its thread while it is made. Usage: addArgument() for each, begin(), the
/// call, end(), setAnswer(), write().
class RecordedCall
{
    Q_DISABLE_COPY(RecordedCall)

public:
    /// \a hides is what the list of operations says.
    RecordedCall(RecordedThread &thread, void *database, const char *operation, int hides, const void *caller);
    ~RecordedCall();

    template <typename Argument>
    void addArgument(const Argument &argument);
    void begin();
    void end();
    template <typename Answer>
    void setAnswer(const Answer &answer);
    void setFound(bool found, const QString &uuid);
    void write();

    /// What happens meanwhile. The client runs from a signal on.
    void addLog(QtMsgType type, const QString &text);
    void emits(const void *database, bool isSignal);

private:
    friend class FatalSignals;

    QString redacted(const QString &text) const;

    Recorder &m_recorder;
    RecordedThread &m_thread;
    void *const m_database;
    const void *const m_caller;
    RecordedCall *m_outer = nullptr;
    QByteArray m_line;  // as far as it is known; not touched while the call is in progress
    QByteArray m_place; // which database, thread and time
    QStringList m_log;
    QJsonArray m_arguments;      // only to check threads
    QJsonArray m_shownArguments; // the same, redacted
    std::optional<ThreadCheck::Entry> m_running;
    int m_hides;
    bool m_redacts = false;
    bool m_hidesAnswer = false;
    bool m_hasEmitted = false;
    bool m_isInProgress = false;
    bool m_isWritten = false;
    qint64 m_began = 0; // tenths of a microsecond
    qint64 m_ended = 0;
};

template <typename Argument>
void RecordedCall::addArgument(const Argument &argument)
{
    if constexpr (std::is_same_v<Argument, int>)
        m_redacts = m_redacts || (m_hides == HidesValueOfKey && m_recorder.options.redact.contains(argument));
    const auto write = [this](const auto &shown) {
        m_line += ',';
        appendJson(m_line, shown);
        if (m_recorder.options.checkThreads)
            m_shownArguments << QJsonValue(shown);
    };
    if constexpr (std::is_same_v<Argument, QString>)
        write(m_redacts ? redacted(argument) : argument);
    else
        write(argument);
    if (m_recorder.options.checkThreads)
        m_arguments << QJsonValue(argument);
}

template <typename Answer>
void RecordedCall::setAnswer(const Answer &answer)
{
    if (m_hidesAnswer || m_isWritten)
        return;
    if constexpr (std::is_same_v<Answer, QString>)
        CallLine::appendAnswer(m_line, m_redacts ? redacted(answer) : answer);
    else if constexpr (std::is_same_v<Answer, QMap<QString, QString>>)
        CallLine::appendAnswer(m_line, toJson(answer));
    else
        CallLine::appendAnswer(m_line, answer);
}
