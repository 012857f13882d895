// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QList>

class VmPoolNode;

/// Sorts the pools of a group, the lead pool first. A null entry counts as a failed pool.
void sortPools(QList<VmPoolNode *> &pools);
