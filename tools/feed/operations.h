// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonValue>
#include <QtCore/QString>

class VmDatabase;

/// What came of one call: an answer (undefined if the operation has none), or else what was wrong and what was
/// expected.
struct Outcome
{
    QJsonValue answer = QJsonValue(QJsonValue::Undefined);
    QString error;
};

/// A public operation of VmDatabase as a feed calls it.
struct Operation
{
    Outcome (*call)(VmDatabase &database, const QJsonArray &arguments);
    bool needsOpen; ///< Whether it must not be called on a closed database.
};

/// The operation called \a name; null if there is none.
const Operation *findOperation(const QString &name);

/// \a value as compact JSON, whatever its type.
QString compactJson(const QJsonValue &value);
