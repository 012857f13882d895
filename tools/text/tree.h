// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "store/storecopy.h"

/// What is stored and what decides about it: pools with their items, group by group, remote and SaaS applications. As
/// data, or as a person reads it, with the lead of each group marked. Touches no database and logs nothing.
QJsonObject readTree(const StoreCopy &stored);
QString drawTree(const StoreCopy &stored);
