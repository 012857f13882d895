// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "threads/contract.h"

#include <QtCore/QHash>
#include <QtCore/QSet>

#include <list>
#include <mutex>

class RecordFile;

/// Knows the calls that are running, and reports those that must not run at the same time. A report is made before the
/// later of the two enters the library, once for each pair of operations and places in the client.
class ThreadCheck
{
    Q_DISABLE_COPY(ThreadCheck)

public:
    explicit ThreadCheck(RecordFile &file)
        : m_file(file)
    {}

    struct Running
    {
        const void *database;
        QString thread;
        const void *caller; ///< Where in the client.
        Touched touched;
    };
    using Entry = std::list<Running>::iterator;

    /// A call begins; leave() is to be called with what this answers. Reports name the call as \a shown, redacted.
    Entry enter(const void *database, const QString &thread, const void *caller, const QJsonArray &call,
                const QJsonArray &shown);
    void leave(Entry running);

    /// The event loop of a thread deletes a removed record.
    void deletePool(const QString &uuid, const QString &thread);
    void deleteApp(const QString &id, const QString &thread);

    bool hasFound() const { return m_hasFound; }

    /// Around a fork.
    void prepareFork() { m_mutex.lock(); }
    void endFork(bool isChild, const QString &thread);

private:
    QStringList compare(const Running &running);
    void report(const QStringList &lines);
    void deleteRecord(Touched (StoredNames::*touch)(const QString &), const QString &name, const QString &thread);

    RecordFile &m_file;
    std::mutex m_mutex; // guards what follows
    std::list<Running> m_running;
    QHash<const void *, StoredNames> m_names;
    QSet<QString> m_reported;
    std::atomic<bool> m_hasFound{false};
};
