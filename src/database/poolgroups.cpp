// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/private/vmdatabase_p.h"

#include "records/recordaccess_p.h"
#include "vmdatabase/vmpoolnode.h"

#include <utility>

QMap<QString, QList<VmPoolNode *> *> VmDatabasePrivate::getGroupedVmPool()
{
    QReadLocker locker(&poolLock);
    QMap<QString, QList<VmPoolNode *> *> groups;
    for (VmPoolNode *pool : std::as_const(pools)) {
        if (!pool)
            continue;
        const QString name = pool->getValue(VdiVM::GroupKey);
        if (name.isEmpty())
            continue;
        QList<VmPoolNode *> *&group = groups[name];
        if (!group)
            group = new QList<VmPoolNode *>;
        *group << pool;
    }
    return groups;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): Compatibility: clients are built against the signature
QSharedPointer<QList<VmPoolNode *>> VmDatabasePrivate::getVmPoolListByGroup(QString group)
{
    auto list = QSharedPointer<QList<VmPoolNode *>>::create();
    QReadLocker locker(&poolLock);
    for (VmPoolNode *pool : std::as_const(pools)) {
        if (VmRecordAccess::isEqual(pool, VdiVM::GroupKey, group))
            *list << pool;
    }
    return list;
}
