// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "keynames.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

class VmDatabase;

/// What came of an operation's call: its answer (undefined if it has none), or what was wrong with the arguments.
struct Answer
{
    QJsonValue value = QJsonValue(QJsonValue::Undefined);
    QString error;
    qint64 nanoseconds = 0; ///< How long the call itself took.
};

/// A public operation of VmDatabase as a feed calls it. The names are those of the header.
struct Operation
{
    QString name;
    QStringList parameters; ///< Without one that the operation writes to.
    NamedNumbers keys;      ///< What a parameter `key` is.
    bool needsOpen;         ///< Whether it must not be called on a closed database.
    bool removes;           ///< Whether it may leave something behind that an event loop would delete.

    /// Calls it with all but the first element of \a call, which is the operation's name. Null for the constructor and
    /// the destructor, which are the player's.
    Answer (*play)(const Operation &operation, VmDatabase &database, const QJsonArray &call);
};

/// All of them, in the header's order; "VmDatabase" and "~VmDatabase" are the first.
const QVector<Operation> &allOperations();

/// The operation called \a name; null if there is none.
const Operation *findOperation(const QString &name);

/// The operation whose name is most like \a name; empty if none is.
QString similarOperation(const QString &name);

/// \a call as a person reads it: getPoolNodeValue("p-10",HiddenKey). Long texts are shortened.
QString describeCall(const QJsonArray &call);

/// The calls of a line about unfinished ones, and the signal that ended the program: dealVmPools() (SIGSEGV).
QString describeUnfinished(const QJsonObject &about);
