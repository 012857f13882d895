// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QList>

class VmPoolNode;

/// Sorts the pools of a group, the lead pool first: pools that have not failed to connect, then preferred ones, then the
/// higher priority. Not a strict weak order for every input: of two pools whose failure flags are "1" and "2" each goes
/// before the other; with such preference flags neither does, whatever their priorities. Pools that are alike in all three
/// have no defined order. A null entry counts as a failed pool.
void sortPools(QList<VmPoolNode *> &pools);
