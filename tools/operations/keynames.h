// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QJsonValue>
#include <QtCore/QString>

/// The names that VdiVM gives to numbers. A feed for tests may use them in the place of the number.
enum class NamedNumbers {
    None,     ///< A plain number: a position, a policy type, the key of a policy.
    NodeKeys, ///< VdiVM::NodeKey.
    AppKeys,  ///< VdiVM::AppKey.
    VmTypes,  ///< VdiVM::VmType.
};

/// The name of \a number, "HiddenKey" for example; the number itself if it has none.
QString nameOf(int number, NamedNumbers kind);

/// The number called \a name; whether there is one.
bool numberOf(const QString &name, NamedNumbers kind, int *number);

/// The number that \a value is or names; 0 if it is neither.
int numberIn(const QJsonValue &value, NamedNumbers kind);
