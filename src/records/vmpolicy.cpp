// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/vmpolicy.h"

VmPolicy::VmPolicy() = default;

VmPolicy::~VmPolicy() = default;

QString VmPolicy::getValue(int key)
{
    QReadLocker locker(&valueLock);
    return values.value(key);
}

void VmPolicy::setValue(int key, const QString &value)
{
    QWriteLocker locker(&valueLock);
    values.insert(key, value);
}

void VmPolicy::clear()
{
    QWriteLocker locker(&valueLock);
    values.clear();
}
