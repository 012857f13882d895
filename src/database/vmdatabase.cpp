// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/vmdatabase.h"

#include "log_p.h"
#include "text_p.h"
#include "vmdatabase/private/vmdatabase_p.h"

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
