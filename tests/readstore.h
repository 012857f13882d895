// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inspection_p.h"
#include "store/storecopy.h"

/// All that an open database stores, without having followed a call.
inline StoreCopy readStore(VmDatabase &database)
{
    const VmStoreInspection store(database);
    StoreCopy copy;
    const QList<QString> pools = database.getVmPoolNameList();
    for (const QString &uuid : pools) {
        StoreCopy::Pool &pool = copy.pools[uuid]; // clazy:exclude=detaching-member (writes)
        pool.values = store.values(uuid);
        const QList<QString> items = store.items(uuid);
        for (const QString &itemUuid : items) {
            StoreCopy::Item &item = pool.items[itemUuid]; // clazy:exclude=detaching-member (writes)
            item.values = store.values(uuid, itemUuid);
            for (int type = 0; type <= 10; ++type) {
                const StoreCopy::Values *values = store.policyValues(uuid, itemUuid, type);
                if (values && !values->isEmpty())
                    item.policies.insert(type, *values);
            }
        }
    }
    const QList<QString> remoteApps = database.getAppsIdList();
    for (const QString &id : remoteApps) {
        StoreCopy::App &app = copy.remoteApps[id]; // clazy:exclude=detaching-member (writes)
        if (const StoreCopy::Values *values = store.remoteAppValues(id))
            app = {true, *values, database.getRemoteAppControlPolicy(id)};
    }
    for (int i = 0; i < database.getSaasAppCount(); ++i) {
        const QString id = database.getSaasAppId(i);
        copy.saasApps.insert(id, {true, *store.saasAppValues(id), {}});
    }
    return copy;
}
