// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/private/vmdatabase_p.h"
#include "vmdatabase/vmdatabase.h"

#include "log_p.h"
#include "poolordering_p.h"
#include "storedpool_p.h"

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
        const StoredPool stored(pool);
        stored.set(Rules::Visibility::Hidden);
        usable = usable || Rules::isUsable(stored.failed());
    }
    VmPoolNode *lead = pools->constFirst();
    StoredPool(lead).set(Rules::Visibility::Shown);
    if (!usable)
        return false;
    uuid = lead->getValue(VdiVM::UuidKey);
    Log::info() << "wheelVmGroup select keyUuid: " << uuid;
    return true;
}
