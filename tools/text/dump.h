// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "store/storecopy.h"

/// Everything that is stored, with the number and the name of each key: as text, or as data. With a \a pool only that
/// one, and nothing of it if it is not stored.
QString drawDump(const StoreCopy &stored, const QString &pool = {});
QJsonObject readDump(const StoreCopy &stored, const QString &pool = {});
