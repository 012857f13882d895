// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "analysis/explain.h"

#include <functional>

/// Why the pool was shown or hidden, as a sentence without its end.
QString describeDecision(const PoolExplanation::Decision &decision);

/// "shown", "hidden", or empty for a pool that no decision has shown or hidden.
QString describeState(const PoolExplanation &explanation);

/// The explanation as text of several lines, and as data.
QString toText(const PoolExplanation &explanation);
QJsonObject toJson(const PoolExplanation &explanation);

/// What is stored now in a database.
using StoredNow = std::function<const StoreCopy &(int database)>;

/// The explanations of all databases.
QString toText(const Explanation &explanation, const StoredNow &storedNow);
QJsonObject toJson(const Explanation &explanation, const StoredNow &storedNow);

/// What is said of a pool that no call has added.
QString describeUnknown(const Explanation &explanation);
