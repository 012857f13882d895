// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "operations/operations.h"

class VmDatabase;

/// What came of an operation's call: its answer (undefined if it has none), or what was wrong with the arguments.
struct Answer
{
    QJsonValue value = QJsonValue(QJsonValue::Undefined);
    QString error;
    qint64 nanoseconds = 0; ///< How long the call itself took.
};

/// Calls \a operation, one of allOperations() that is neither constructor nor destructor, with all but the first element of
/// \a call, which is its name.
Answer playCall(const Operation &operation, VmDatabase &database, const QJsonArray &call);
