// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/private/vmdatabase_p.h"
#include "vmdatabase/vmdatabase.h"

#include "log_p.h"
#include "text_p.h"
#include "vmdatabase/remoteapp.h"

#include <utility>

// Stands in for the control policy of every application that has no record.
static const QJsonObject &noControlPolicy()
{
    static const QJsonObject policy;
    return policy;
}

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
    return index >= 0 && index < remoteApps.size() ? (remoteApps.cbegin() + index).key() : emptyText();
}

// NOLINTBEGIN(performance-unnecessary-value-param): ids by value is what callers are built against
QString VmDatabasePrivate::getRemoteAppValue(QString appId, int key)
{
    QReadLocker locker(&remoteAppLock);
    if (RemoteApp *app = remoteApps.value(appId))
        return app->getValue(key);
    // Meant to be written under the lock.
    Log::info() << "Error couldn't find " << appId << ", keys: " << remoteApps.keys();
    return emptyText();
}

QString VmDatabasePrivate::getRemoteAppValueByName(const QString &appId, int key)
{
    QReadLocker locker(&remoteAppLock);
    RemoteApp *app = remoteApps.value(appId);
    return app ? app->getValue(key) : QString();
}

void VmDatabasePrivate::setRemoteAppValue(QString appId, int key, const QString &value)
{
    QWriteLocker locker(&remoteAppLock);
    if (RemoteApp *app = remoteApps.value(appId)) {
        app->setValue(key, value);
        return;
    }
    auto *app = new RemoteApp(appId, nullptr);
    app->setValue(key, value);
    remoteApps.insert(appId, app);
}

void VmDatabasePrivate::deleteRemoteApp(QString appId)
{
    if (RemoteApp *app = remoteApps.take(appId))
        app->deleteLater();
}

const QJsonObject &VmDatabasePrivate::getRemoteAppControlPolicy(QString appId)
{
    // The inserting subscript is meant: an unknown id is listed from here on, without a record.
    RemoteApp *app = remoteApps[appId]; // clazy:exclude=detaching-member
    return app ? std::as_const(*app).getControlPolicy() : noControlPolicy();
}

void VmDatabasePrivate::setRemoteAppControlPolicy(QString appId, const QJsonObject &policy)
{
    // As above; there is no record to keep the policy then, and it is dropped.
    if (RemoteApp *app = remoteApps[appId]) // clazy:exclude=detaching-member
        app->setControlPolicy(policy);
}
// NOLINTEND(performance-unnecessary-value-param)

void VmDatabasePrivate::clearRemoteAppList()
{
    QWriteLocker locker(&remoteAppLock);
    for (RemoteApp *app : std::as_const(remoteApps)) {
        if (app)
            app->deleteLater();
    }
    remoteApps.clear();
}

const QJsonObject &VmDatabase::getRemoteAppControlPolicy(QString appId)
{
    return d ? d->getRemoteAppControlPolicy(std::move(appId)) : noControlPolicy();
}

void VmDatabase::clearRemoteAppList()
{
    if (!d)
        return;
    d->clearRemoteAppList();
    Q_EMIT remoteAppsUpdated();
}

void VmDatabase::setRemoteAppEnd()
{
    Q_EMIT remoteAppsUpdated();
}
