// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QHash>
#include <QtCore/QJsonArray>
#include <QtCore/QMap>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

// Which calls of different threads must not run at the same time. docs/threads.md has the same for people; a test
// compares the two.

/// What a call touches. "Its" pools are those that the call names, by uuid, by server address or by group.
enum Touch : quint32 {
    LooksUpPool = 1 << 0,  ///< Its pool, with the lock on the pool table.
    AddsPool = 1 << 1,     ///< Its pool, with the lock.
    ListsPools = 1 << 2,   ///< All of them, without the lock.
    RemovesPools = 1 << 3, ///< Its pools, with the lock. They are deleted later.
    UsesPools = 1 << 4,    ///< Its pools, after the lock was released.
    ReadsItems = 1 << 5,   ///< Those of its pools.
    ReadsAnyItems = 1 << 6,
    AddsItem = 1 << 7,     ///< To its pool.
    RemovesItems = 1 << 8, ///< Of its pools.
    LocksItems = 1 << 9,   ///< Holds the lock on the pool table while it is at items.
    UsesAnyPool = 1 << 10, ///< Its pools are all there are.

    UsesApps = 1 << 11, ///< Remote applications, with the lock on their table.
    AddsApp = 1 << 12,
    RemovesApps = 1 << 13, ///< Their records are deleted later.
    ListsApps = 1 << 14,   ///< Without the lock.
    ReadsApps = 1 << 15,   ///< Their records, without the lock.
    ChangesApps = 1 << 16, ///< May change the table without its lock.

    UsesSaas = 1 << 17,   ///< SaaS applications, with the lock on their table.
    ClearsSaas = 1 << 18, ///< Without the lock.

    EndsDatabase = 1 << 19,
    DeletesRecord = 1 << 20, ///< The event loop deletes what was removed before.
};

/// An operation as the contract has it: "setNodeValue of a new item" is one of its own.
struct ContractRow
{
    const char *name;
    quint32 touches;

    /// What other threads must not do while it runs, in the words of docs/threads.md.
    QStringList forbids() const;
};
const QVector<ContractRow> &contractRows();

/// What a lookup of a new pool touches besides, whichever operation makes it.
extern const ContractRow newPoolRow;

/// What one call touches.
struct Touched
{
    quint32 touches = 0;
    const ContractRow *row = nullptr; ///< Null for a call that touches nothing.
    QSet<quint64> its;                ///< Its pools (or remote applications), numbered as they were added.
    QString call;                     ///< For people: setPoolNodeValue("p-1"). Values are left out.
};

/// A call for people: its operation, and the uuids and such that say what it is about.
QString briefCall(const QJsonArray &call);

/// Follows the calls on one database to know which of them add something, and what is theirs.
class StoredNames
{
public:
    /// What \a call touches. To be asked when the call begins; what it adds and removes counts from then on.
    Touched enter(const QJsonArray &call);

    /// What the event loop touches when it deletes a removed pool or record, whose own uuid or id this is. Touches
    /// nothing if it is not known.
    Touched deletePool(const QString &uuid) { return deleteRemoved(m_removedPools, uuid); }
    Touched deleteApp(const QString &id) { return deleteRemoved(m_removedApps, id); }

private:
    struct Pool
    {
        quint64 number = 0;
        QString uuid; // the value, which clients may overwrite
        QString server;
        QString group;
        QSet<QString> items;
    };
    struct App
    {
        quint64 number = 0;
        bool hasRecord = false;
        QString id; // the value
    };
    using Removed = QHash<QString, QVector<quint64>>;
    class Call;

    static Touched deleteRemoved(Removed &removed, const QString &name);

    quint64 m_lastNumber = 0;
    bool m_isClosed = false;
    QMap<QString, Pool> m_pools;
    QMap<QString, App> m_apps;
    Removed m_removedPools; // by their uuid value
    Removed m_removedApps;
};

/// Why calls that touch \a a and \a b must not run at the same time, on one database but different threads:
/// "first  beside  second which adds a pool: pools must not be added meanwhile", whose \a first and \a second begin
/// with the threads' names. Empty if they may.
QString conflict(const Touched &a, const QString &threadA, const Touched &b, const QString &threadB);
