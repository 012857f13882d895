// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <optional>

class VmDatabase;

/// One thing that a call changed.
struct Change
{
    enum Table { Pools, RemoteApps, SaasApps };
    enum Kind {
        Added,         ///< The pool, item or application. A uuid is stored with it, and is not a change of its own.
        Removed,       ///< With all it held.
        Value,         ///< Under key. Makes a record of an application that was only listed.
        PolicyValue,   ///< Of an item, under policy and key.
        ControlPolicy, ///< Of a remote application: controlBefore and controlAfter.
        Recorded,      ///< An application has a record, though it holds no value.
    };
    Table table = Pools;
    Kind kind = Value;
    QString id;                  ///< The pool's uuid or the application's id.
    std::optional<QString> item; ///< The item's uuid, unless it is the pool or the application itself.
    int policy = 0;
    int key = 0;
    std::optional<QString> before; ///< None if there was no value.
    QString after;
    QJsonObject controlBefore = {};
    QJsonObject controlAfter = {};
};

/// Everything that the calls of a feed have stored in one database. It equals the library's own store after every call: the
/// calls say where to look, and what is found there is taken over.
class StoreCopy
{
public:
    using Values = QMap<int, QString>;
    struct Item
    {
        Values values;
        QMap<int, Values> policies; ///< By policy type.
    };
    struct Pool
    {
        Values values;
        QMap<QString, Item> items;
    };
    struct App
    {
        bool hasRecord = false; ///< Or it is only listed.
        Values values;
        QJsonObject controlPolicy;
    };
    QMap<QString, Pool> pools;
    QMap<QString, App> remoteApps;
    QMap<QString, App> saasApps;

    /// Finds what \a call, which has just been made on \a database, changed, and applies it. Adds nothing to the database.
    /// A call that closes the database, its destructor too, may be made behind it.
    QVector<Change> follow(const QJsonArray &call, VmDatabase &database);

    /// Makes of what was stored before a call what is stored after it, change by change.
    void apply(const Change &change);

    /// Whether it was closed: nothing is stored then, nor ever will be. follow() knows; no change says so.
    bool isClosed = false;
};
