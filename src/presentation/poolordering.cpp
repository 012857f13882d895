// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "poolordering_p.h"

#include "records/recordaccess_p.h"
#include "vmdatabase/vdivm.h"
#include "vmdatabase/vmpoolnode.h"

#include <QtCore/QtAlgorithms>

bool poolGoesFirst(VmPoolNode *a, VmPoolNode *b)
{
    const uint failedA = RecordAccess::toUnsigned(a, VdiVM::FailedToConnectKey);
    const uint failedB = RecordAccess::toUnsigned(b, VdiVM::FailedToConnectKey);
    if (failedA != failedB)
        return failedB != 0;
    const uint preferredA = RecordAccess::toUnsigned(a, VdiVM::PreferredKey);
    const uint preferredB = RecordAccess::toUnsigned(b, VdiVM::PreferredKey);
    if (preferredA != preferredB)
        return preferredB == 0;
    return RecordAccess::toUnsigned(a, VdiVM::PriorityKey) > RecordAccess::toUnsigned(b, VdiVM::PriorityKey);
}

void sortPools(QList<VmPoolNode *> &pools)
{
    // std::sort may read out of bounds with an order that is not strict and weak; qSort checks its bounds at every
    // step. It is deprecated for being slower, which is no reason here.
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    qSort(pools.begin(), pools.end(), poolGoesFirst);
    QT_WARNING_POP
}
