// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "store/storecopy.h"

/// A change as a person reads it: pool "p-10": HiddenKey "0" -> "1". Long values are shortened.
QString describeChange(const Change &change);

/// Its parts, for a table: what was changed...
QString describeSubject(const Change &change);
/// ... what of it: "added", "removed", the name of a key, a policy ...
QString describeAspect(const Change &change);
/// ... and the values before and after: none -> "0". Empty if the change is not one of a value.
QString describeValues(const Change &change);
bool hasValues(const Change &change);
QString describeBefore(const Change &change);
QString describeAfter(const Change &change);

/// The change whole, for programs.
QJsonObject toJson(const Change &change);

/// \a call as a person reads it: getPoolNodeValue("p-10",HiddenKey). Long texts are shortened.
QString describeCall(const QJsonArray &call);

/// The calls of a line about unfinished ones, and the signal that ended the program: dealVmPools() (SIGSEGV).
QString describeUnfinished(const QJsonObject &about);
