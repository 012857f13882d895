// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/private/vmdatabase_p.h"

#include "database/nocontrolpolicy_p.h"
#include "log_p.h"
#include "mapentry_p.h"
#include "text_p.h"
#include "vmdatabase/remoteapp.h"

#include <utility>

int VmDatabasePrivate::getAppCount()
{
    QReadLocker locker(&remoteAppLock);
    return remoteApps.size();
}

QList<QString> VmDatabasePrivate::getAppNames()
{
    return remoteApps.keys();
}

QString VmDatabasePrivate::getRemoteAppId(int index)
{
    QReadLocker locker(&remoteAppLock);
    return index >= 0 && index < remoteApps.size() ? entryAt(remoteApps, index).key() : emptyText();
}

// NOLINTBEGIN(performance-unnecessary-value-param): Compatibility: clients are built against the signatures
QString VmDatabasePrivate::getRemoteAppValue(QString appId, int key)
{
    QReadLocker locker(&remoteAppLock);
    if (RemoteApp *app = remoteAppIndex.value(appId))
        return app->getValue(key);
    // Compatibility: written with the lock held.
    Log::info() << "Error couldn't find " << appId << ", keys: " << remoteApps.keys();
    return emptyText();
}

QString VmDatabasePrivate::getRemoteAppValueByName(const QString &appId, int key)
{
    QReadLocker locker(&remoteAppLock);
    RemoteApp *app = remoteAppIndex.value(appId);
    return app ? app->getValue(key) : QString();
}

void VmDatabasePrivate::setRemoteAppValue(QString appId, int key, const QString &value)
{
    const VmHashedUuid hashed(appId);
    QWriteLocker locker(&remoteAppLock);
    if (RemoteApp *app = remoteAppIndex.value(hashed)) {
        app->setValue(key, value);
        return;
    }
    auto *app = new RemoteApp(appId, nullptr);
    app->setValue(key, value);
    remoteAppIndex.insert(remoteApps, appId, hashed, app);
}

void VmDatabasePrivate::deleteRemoteApp(QString appId)
{
    const auto it = remoteApps.find(appId); // clazy:exclude=detaching-member (writes)
    if (it == remoteApps.end())
        return;
    RemoteApp *app = it.value();
    remoteAppIndex.remove(remoteApps, it);
    if (app)
        app->deleteLater();
}

// Compatibility: an unknown id is listed from here on, without a record.
RemoteApp *VmDatabasePrivate::listedRemoteApp(const QString &appId)
{
    const VmHashedUuid hashed(appId);
    if (RemoteApp *const *app = remoteAppIndex.find(hashed))
        return *app;
    remoteAppIndex.insert(remoteApps, appId, hashed, nullptr);
    return nullptr;
}

const QJsonObject &VmDatabasePrivate::getRemoteAppControlPolicy(QString appId)
{
    RemoteApp *app = listedRemoteApp(appId);
    return app ? std::as_const(*app).getControlPolicy() : noControlPolicy();
}

void VmDatabasePrivate::setRemoteAppControlPolicy(QString appId, const QJsonObject &policy)
{
    // An id without a record has nowhere to keep the policy: it is dropped.
    if (RemoteApp *app = listedRemoteApp(appId))
        app->setControlPolicy(policy);
}
// NOLINTEND(performance-unnecessary-value-param)

void VmDatabasePrivate::clearRemoteAppList()
{
    QWriteLocker locker(&remoteAppLock);
    const auto removed = remoteAppIndex.takeAll(remoteApps);
    for (RemoteApp *app : removed) {
        if (app)
            app->deleteLater();
    }
}
