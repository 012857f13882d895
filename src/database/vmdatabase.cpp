// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/vmdatabase.h"

#include "database/nocontrolpolicy_p.h"
#include "log_p.h"
#include "text_p.h"
#include "vmdatabase/private/vmdatabase_p.h"

#include <utility>

VmDatabase::VmDatabase(QObject *parent)
    : QObject(parent)
    , d(new VmDatabasePrivate)
{}

VmDatabase::~VmDatabase()
{
    delete d;
    d = nullptr;
    Log::info("~VmDatabase") << "Yes, free db now!!";
}

void VmDatabase::clear()
{
    if (!d)
        return;
    d->clearVmPoolList();
    Log::info("clear") << "clear and free private db now!!";
    delete d;
    d = nullptr;
}

void VmDatabase::printDatabase()
{
    if (d)
        d->printDatabase();
}

QString VmDatabase::getNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key)
{
    return d ? d->getNodeValue(parentUuid, uuid, type, key) : emptyText();
}

QString VmDatabase::getPoolNodeValue(const QString &uuid, int key)
{
    return d ? d->getPoolNodeValue(uuid, key) : emptyText();
}

void VmDatabase::setNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key,
                              const QString &value)
{
    if (!d)
        return;
    if (type == VdiVM::UnknownNode) {
        Log::critical("setNodeValue") << "type is invalid, do nothing. 4";
        return;
    }
    if ((type == VdiVM::PoolNode && parentUuid.isEmpty()) || (type == VdiVM::ItemNode && uuid.isEmpty())) {
        Log::critical("setNodeValue") << "error: parent uuid is empty(pool) or uuid is empty(item), uuid = " << uuid
                                      << ", parent uuid = " << parentUuid << ", type = " << int(type);
        return;
    }
    d->setNodeValue(parentUuid, uuid, type, key, value);
}

void VmDatabase::setPoolNodeValue(const QString &uuid, int key, const QString &value)
{
    if (d)
        d->setPoolNodeValue(uuid, key, value);
}

void VmDatabase::resetNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key)
{
    if (d)
        d->resetNodeValue(parentUuid, uuid, type, key);
}

QString VmDatabase::getPolicyValue(const QString &parentUuid, const QString &uuid, const VdiVM::PolicyType &type,
                                   int key)
{
    return d ? d->getPolicyValue(parentUuid, uuid, type, key) : emptyText();
}

void VmDatabase::setPolicyValue(const QString &parentUuid, const QString &uuid, const VdiVM::PolicyType &type, int key,
                                const QString &value)
{
    if (d)
        d->setPolicyValue(parentUuid, uuid, type, key, value);
}

int VmDatabase::getItemCount()
{
    return d ? d->getItemCount() : 0;
}

int VmDatabase::getItemCountByServerIp(const QString &serverIp)
{
    return d ? d->getItemCountByServerIp(serverIp) : 0;
}

QString VmDatabase::getItemUuid(int index)
{
    return d ? d->getItemUuid(index) : emptyText();
}

int VmDatabase::getItemType(int index)
{
    return d ? d->getItemType(index) : 0;
}

int VmDatabase::getItemTypeByUuid(const QString &uuid)
{
    return d ? d->getItemTypeByUuid(uuid) : 0;
}

QString VmDatabase::getParentUuid(const QString &uuid)
{
    return d ? d->getParentUuid(uuid) : emptyText();
}

QString VmDatabase::getUuidByParentUuid(const QString &parentUuid)
{
    return d ? d->getUuidByParentUuid(parentUuid) : emptyText();
}

QString VmDatabase::getResourceNameByParentUuid(const QString &parentUuid)
{
    return d ? d->getResourceNameByParentUuid(parentUuid) : emptyText();
}

QList<QString> VmDatabase::getChildrenByParentUuid(const QString &parentUuid)
{
    return d ? d->getChildrenByParentUuid(parentUuid) : QList<QString>();
}

QList<QString> VmDatabase::getVmPoolNameList()
{
    return d ? d->getVmPoolNameList() : QList<QString>();
}

void VmDatabase::removeNode(const QString &uuid)
{
    if (d)
        d->removeNode(uuid);
}

void VmDatabase::removeNodesByServerIp(const QString &serverIp)
{
    if (d)
        d->removeNodesByServerIp(serverIp);
}

void VmDatabase::removeChildrenByParentUuid(const QString &parentUuid)
{
    if (d)
        d->removeChildrenByParentUuid(parentUuid);
}

void VmDatabase::removeFamilyByParentUuid(const QString &parentUuid)
{
    removeChildrenByParentUuid(parentUuid);
    removeNode(parentUuid);
}

int VmDatabase::getAppCount()
{
    return d->getAppCount(); // Compatibility: not guarded, must not be called on a closed database
}

QList<QString> VmDatabase::getAppNames()
{
    return d ? d->getAppNames() : QList<QString>();
}

QString VmDatabase::getRemoteAppId(int index)
{
    return d ? d->getRemoteAppId(index) : emptyText();
}

QString VmDatabase::getRemoteAppValue(QString appId, int key)
{
    return d ? d->getRemoteAppValue(std::move(appId), key) : emptyText();
}

void VmDatabase::setRemoteAppValue(QString appId, int key, const QString &value)
{
    if (d)
        d->setRemoteAppValue(std::move(appId), key, value);
}

void VmDatabase::deleteRemoteApp(QString appId)
{
    if (d)
        d->deleteRemoteApp(std::move(appId));
}

const QJsonObject &VmDatabase::getRemoteAppControlPolicy(QString appId)
{
    return d ? d->getRemoteAppControlPolicy(std::move(appId)) : noControlPolicy();
}

void VmDatabase::setRemoteAppControlPolicy(QString appId, const QJsonObject &policy)
{
    if (d)
        d->setRemoteAppControlPolicy(std::move(appId), policy);
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

int VmDatabase::getSaasAppCount()
{
    return d->getSaasAppCount(); // Compatibility: not guarded
}

QString VmDatabase::getSaasAppId(int index)
{
    return d ? d->getSaasAppId(index) : emptyText();
}

QString VmDatabase::getSaasAppValue(QString appId, int key)
{
    return d ? d->getSaasAppValue(std::move(appId), key) : emptyText();
}

void VmDatabase::setSaasAppValue(QString appId, int key, const QString &value)
{
    if (d)
        d->setSaasAppValue(std::move(appId), key, value);
}

void VmDatabase::clearSaasAppList()
{
    d->clearSaasAppList(); // Compatibility: not guarded
}
