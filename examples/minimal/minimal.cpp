// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include <vmdatabase/vmdatabase.h>

#include <QtCore/QDebug>

int main()
{
    VmDatabase database;
    const auto pool = QStringLiteral("pool-1"), machine = QStringLiteral("machine-1");
    database.setPoolNodeValue(pool, VdiVM::NameKey, QStringLiteral("Office"));
    database.setPoolNodeValue(pool, VdiVM::AllowMultiDynamicKey, QStringLiteral("1"));
    database.setNodeValue(pool, machine, VdiVM::ItemNode, VdiVM::ItemStatusKey, QStringLiteral("running"));
    database.setPolicyValue(pool, machine, VdiVM::PolicyType(3), 1, QStringLiteral("no clipboard"));

    database.dealVmPools();
    const QList<QString> uuids = database.getVmPoolNameList();
    for (const QString &uuid : uuids) {
        if (database.getPoolNodeValue(uuid, VdiVM::HiddenKey) == QLatin1String("0"))
            qInfo() << database.getPoolNodeValue(uuid, VdiVM::NameKey) << database.getChildrenByParentUuid(uuid);
    }
    return 0;
}
