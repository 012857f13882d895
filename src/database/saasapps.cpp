// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/private/vmdatabase_p.h"

#include "mapentry_p.h"
#include "text_p.h"
#include "vmdatabase/remoteapp.h"

int VmDatabasePrivate::getSaasAppCount()
{
    QReadLocker locker(&saasAppLock);
    return saasApps.size();
}

QString VmDatabasePrivate::getSaasAppId(int index)
{
    QReadLocker locker(&saasAppLock);
    return index >= 0 && index < saasApps.size() ? entryAt(saasApps, index).key() : emptyText();
}

// NOLINTBEGIN(performance-unnecessary-value-param): Compatibility: clients are built against the signatures
QString VmDatabasePrivate::getSaasAppValue(QString appId, int key)
{
    QReadLocker locker(&saasAppLock);
    // A reference of its own: clearing the list takes no lock.
    const QSharedPointer<RemoteApp> app = saasApps.value(appId);
    return app ? app->getValue(key) : emptyText();
}

void VmDatabasePrivate::setSaasAppValue(QString appId, int key, const QString &value)
{
    QWriteLocker locker(&saasAppLock);
    if (const QSharedPointer<RemoteApp> app = saasApps.value(appId)) {
        app->setValue(key, value);
        return;
    }
    const QSharedPointer<RemoteApp> app(new RemoteApp(nullptr));
    app->setValue(key, value);
    saasApps.insert(appId, app);
}
// NOLINTEND(performance-unnecessary-value-param)

void VmDatabasePrivate::clearSaasAppList()
{
    saasApps.clear();
}
