// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/private/vmdatabase_p.h"
#include "vmdatabase/vmdatabase.h"

#include "vmdatabase/remoteapp.h"

QMap<QString, QString> VmDatabase::getAppsInfo()
{
    if (!d)
        return {};
    const QMap<QString, RemoteApp *> apps = d->remoteApps; // a copy: later changes do not disturb the walk
    QMap<QString, QString> info;
    for (RemoteApp *app : apps) {
        if (!app)
            continue;
        // The key is read first: another thread that writes both values can observe the order.
        const QString key = app->getValue(VdiVM::AppSummaryKey);
        info.insert(key, app->getValue(VdiVM::AppSummaryValueKey));
    }
    return info;
}

QList<QString> VmDatabase::getAppsIdList()
{
    if (!d)
        return {};
    const QMap<QString, RemoteApp *> apps = d->remoteApps; // a copy, as above
    return apps.keys();
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): Compatibility: clients are built against the signature
QString VmDatabase::buildKeyName(QString prefix, QString name)
{
    if (prefix.isEmpty())
        return name;
    // Compatibility: one after the other, so that a placeholder in the prefix is filled as well.
    return QStringLiteral("[%1]%2").arg(prefix).arg(name); // clazy:exclude=qstring-arg
}
