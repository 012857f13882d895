// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "operations/operations.h"

#include <QtCore/QHash>
#include <QtCore/QJsonArray>
#include <QtCore/QMap>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

// Which calls of different threads must not run at the same time. docs/threads.md has the same for people; a test
// compares the two.

/// An operation as the contract has it: "setNodeValue of a new item" is one of its own.
struct ContractRow
{
    QByteArray name;
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
    class Beginning;

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
