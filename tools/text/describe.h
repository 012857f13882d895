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
/// ... and the values before and after, none for null; empty if the change has none.
QString describeValues(const Change &change);

/// The change whole, for programs.
QJsonObject toJson(const Change &change);

/// Whether \a call only asks. It may add a pool all the same.
bool isReadingCall(const QJsonArray &call);
