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
        Added,         ///< The pool, item or application. Its uuid or id is not a change of its own.
        Removed,       ///< With all it held.
        Value,         ///< Under key.
        PolicyValue,   ///< Of an item, under policy and key.
        ControlPolicy, ///< Of a remote application; before and after are JSON.
    };
    Table table = Pools;
    Kind kind = Value;
    QString id;                  ///< The pool's uuid or the application's id.
    std::optional<QString> item; ///< The item's uuid, unless it is the pool or the application itself.
    int policy = 0;
    int key = 0;
    QString before; ///< Null for none.
    QString after;
};

/// Everything that the calls of a feed have stored in one database. The library lists neither the keys of a record nor
/// its policies; whoever follows every call knows them. The calls say where to look, and what is found there is what
/// the library answers.
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

    /// Takes over what \a call, which has just been made on \a database, changed. Adds nothing to the database.
    QVector<Change> follow(const QJsonArray &call, VmDatabase &database);

    /// Whether clear() has been called: nothing is stored then, nor ever will be.
    bool isClosed = false;
};
