// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "analysis/history.h"

/// What of the thing was changed: a key, with the item's uuid before it, or what was added or removed.
QString describeWhat(const History::Entry &entry);

/// An entry as a line in columns: desktops.jsonl:62  dealVmPools  HiddenKey  "0" -> "1"
QString toText(const History::Entry &entry);
QJsonObject toJson(const History::Entry &entry);
