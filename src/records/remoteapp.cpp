// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/remoteapp.h"

#include "text_p.h"
#include "vmdatabase/vdivm.h"

RemoteApp::RemoteApp(QObject *parent)
    : QObject(parent)
{}

// NOLINTNEXTLINE(performance-unnecessary-value-param): Compatibility: clients are built against the signature
RemoteApp::RemoteApp(QString appId, QObject *parent)
    : QObject(parent)
{
    setValue(VdiVM::AppIdKey, appId);
}

RemoteApp::~RemoteApp() = default;

QString RemoteApp::getValue(int key)
{
    QReadLocker locker(&valueLock);
    return values.value(key, emptyText());
}

void RemoteApp::setValue(int key, const QString &value)
{
    if (value.isEmpty())
        return;
    QWriteLocker locker(&valueLock);
    values.insert(key, value);
}

void RemoteApp::setControlPolicy(const QJsonObject &policy)
{
    controlPolicy = policy;
}

const QJsonObject &RemoteApp::getControlPolicy() const
{
    return controlPolicy;
}
