// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QList>

class VmPoolNode;

/// Whether pool \a a goes before pool \a b in their group: pools that have not failed to connect first, then preferred
/// ones, then the higher priority. Not a strict weak order for every input: of two pools whose failure flags are "1" and
/// "2" each goes before the other; with such preference flags neither does, whatever their priorities. Pools that are
/// alike in all three have no defined order.
bool poolGoesFirst(VmPoolNode *a, VmPoolNode *b);

/// Puts the pools of a group in the order that qSort() makes of it, the lead pool first.
void sortPools(QList<VmPoolNode *> &pools);
