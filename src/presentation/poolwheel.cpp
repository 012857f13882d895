// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/private/vmdatabase_p.h"
#include "vmdatabase/vmdatabase.h"

#include "log_p.h"
#include "poolhiding_p.h"
#include "poolordering_p.h"
#include "records/recordaccess_p.h"

#include <utility>

bool VmDatabase::wheelVmGroup(QString group, QString &uuid)
{
    if (!d)
        return false;
    const auto pools = d->getVmPoolListByGroup(std::move(group));
    for (VmPoolNode *pool : std::as_const(*pools)) {
        Log::info() << "xx wheelVmGroup keyUuid: " << pool->getValue(VdiVM::UuidKey) << ", keyFailedToConnect "
                    << pool->getValue(VdiVM::FailedToConnectKey);
    }
    if (pools->isEmpty())
        return false;

    sortPools(*pools);
    bool usable = false;
    for (VmPoolNode *pool : std::as_const(*pools)) {
        hide(pool);
        usable = usable || VmRecordAccess::toUnsigned(pool, VdiVM::FailedToConnectKey) == 0;
    }
    VmPoolNode *lead = pools->constFirst();
    show(lead);
    if (!usable)
        return false;
    uuid = lead->getValue(VdiVM::UuidKey);
    Log::info() << "wheelVmGroup select keyUuid: " << uuid;
    return true;
}
