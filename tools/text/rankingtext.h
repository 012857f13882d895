// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "analysis/ranking.h"

/// Why the lead is the first, as a sentence about it: "it has not failed to connect" for example.
QString describeReason(const Ranking &ranking);

/// A number text as it decides: 10, none, "high" (counts as 0).
QString describeNumber(const QString &text, int key);

/// The ranking as the lines of a table, a pool in each; the lead is marked with its reason.
QStringList drawRanking(const Ranking &ranking);
QJsonObject toJson(const Ranking &ranking);
