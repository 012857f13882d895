// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "keynames.h"
#include "touch.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// What a recording may hide; or the number of a key, whose values all texts of the call are.
enum Hiding : int {
    HidesValueOfKey = -1, ///< Texts and answer behind an argument of type `int`, if that is one of the keys.
    HidesNothing = -2,
    HidesAnswer = -3,
};

/// A public operation of VmDatabase: all that is known about it without calling it. The names are those of the header.
/// operationlist.h has them all; nothing tells operations by how their names begin.
struct Operation
{
    enum Trait : unsigned {
        NoTraits = 0,
        Reads = 1,      ///< Only asks. It may add a pool, or list an application, all the same.
        Writes = 2,     ///< Stores a value.
        Adds = 4,       ///< Adds the item or the record that it writes to, if there is none.
        Removes = 8,    ///< May leave something behind that an event loop would delete.
        Decides = 16,   ///< Writes VdiVM::HiddenKey of pools.
        Closes = 32,    ///< Nothing is stored from then on.
        NeedsOpen = 64, ///< Must not be called on a closed database.
    };

    /// What its first arguments name, and with it what it can add, change or remove.
    enum Subject {
        AboutNothing,
        AboutPool,          ///< A pool, which is added if there is none.
        AboutNode,          ///< A pool, which is added, or an item of it, as a type says.
        AboutPolicy,        ///< A policy of an item of a pool, which is added.
        AboutItems,         ///< All items of a pool, which is not added.
        AboutFamily,        ///< The same, and then whatever stores that uuid.
        AboutStoredUuid,    ///< The first pool that stores the uuid, or that has such an item.
        AboutServer,        ///< The pools that store an address.
        AboutGroup,         ///< The pools that store a group.
        AboutGroups,        ///< Those that store any.
        AboutPools,         ///< All pools.
        AboutRemoteApp,     ///< One remote application.
        AboutControlPolicy, ///< Its control policy. It is listed from then on.
        AboutRemoteApps,
        AboutSaasApp,
        AboutSaasApps,
        AboutDatabase,
    };

    enum Life { Ordinary, Constructor, Destructor };

    QString name;
    QStringList parameters; ///< Without an out-parameter.
    NamedNumbers keys;      ///< What a parameter `key` is.
    int hides;              ///< Hiding, or a key.
    Subject subject;
    unsigned traits;
    quint32 touches; ///< See touch.h. What it touches besides where something is added or removed, the subject says.
    Life life = Ordinary;

    bool has(unsigned trait) const { return (traits & trait) != 0; }
};

/// All of them, in the header's order; "VmDatabase" and "~VmDatabase" are the first.
const QVector<Operation> &allOperations();

/// The operation called \a name; null if there is none.
const Operation *findOperation(const QString &name);

/// The operation whose name is most like \a name; empty if none is.
QString similarOperation(const QString &name);

/// A call, its arguments by what they are for. What a call does not have, or of the wrong kind, is null or 0.
class Call
{
public:
    explicit Call(const QJsonArray &call)
        : m_call(call)
        , m_operation(findOperation(call.at(0).toString()))
    {}

    const Operation *operation() const { return m_operation; }
    bool has(unsigned trait) const { return m_operation && m_operation->has(trait); }
    Operation::Subject subject() const { return m_operation ? m_operation->subject : Operation::AboutNothing; }

    QString name() const { return m_call.at(0).toString(); }

    /// The pool's uuid, the address, the group, or the application's id.
    QString id() const { return m_call.at(1).toString(); }

    /// The item's uuid, of AboutNode and AboutPolicy.
    QString item() const { return m_call.at(2).toString(); }

    /// Whether it is AboutNode and that is an item.
    bool isOfItem() const;

    /// Whether it writes, if it does, to a value of the pool itself. One that adds items refuses VdiVM::UnknownNode.
    bool isOfPool() const;
    int type() const;
    int key() const;
    QString value() const { return argument("value").toString(); }

private:
    QJsonValue argument(const char *parameter) const;

    const QJsonArray &m_call;
    const Operation *const m_operation;
};
