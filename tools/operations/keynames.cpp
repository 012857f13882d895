// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "keynames.h"

#include <vmdatabase/vdivm.h>

#include <algorithm>
#include <array>

namespace {
struct Name
{
    NamedNumbers kind;
    int number;
    QLatin1String text;
};
} // namespace

#define NAME(kind, name)                                                                                               \
    Name                                                                                                               \
    {                                                                                                                  \
        NamedNumbers::kind, VdiVM::name, QLatin1String(#name, int(sizeof(#name)) - 1)                                  \
    }

static constexpr std::array names{
    NAME(NodeKeys, UuidKey),
    NAME(NodeKeys, IdKey),
    NAME(NodeKeys, NameKey),
    NAME(NodeKeys, ServerIpKey),
    NAME(NodeKeys, OsTypeKey),
    NAME(NodeKeys, OsVersionKey),
    NAME(NodeKeys, AllowMultiDynamicKey),
    NAME(NodeKeys, PoolTypeKey),
    NAME(NodeKeys, PoolStatusKey),
    NAME(NodeKeys, ItemStatusKey),
    NAME(NodeKeys, ItemPortStatusKey),
    NAME(NodeKeys, ItemAddressListKey),
    NAME(NodeKeys, ItemIpListKey),
    NAME(NodeKeys, ItemActiveKey),
    NAME(NodeKeys, ItemIpUsedKey),
    NAME(NodeKeys, ServerPortKey),
    NAME(NodeKeys, ResourceNameKey),
    NAME(NodeKeys, GatewayAccessStrategyKey),
    NAME(NodeKeys, PriorityKey),
    NAME(NodeKeys, FailedToConnectKey),
    NAME(NodeKeys, GroupKey),
    NAME(NodeKeys, HiddenKey),
    NAME(NodeKeys, PreferredKey),
    NAME(AppKeys, AppIdKey),
    NAME(AppKeys, AppSummaryKey),
    NAME(AppKeys, AppSummaryValueKey),
    NAME(VmTypes, UnknownNode),
    NAME(VmTypes, PoolNode),
    NAME(VmTypes, ItemNode),
};

QString nameOf(int number, NamedNumbers kind)
{
    const auto *const it = std::find_if(names.begin(), names.end(),
                                        [=](const Name &name) { return name.kind == kind && name.number == number; });
    return it == names.end() ? QString::number(number) : it->text;
}

bool numberOf(const QString &name, NamedNumbers kind, int *number)
{
    const auto *const it = std::find_if(names.begin(), names.end(),
                                        [&](const Name &other) { return other.kind == kind && other.text == name; });
    if (it == names.end())
        return false;
    *number = it->number;
    return true;
}

int numberIn(const QJsonValue &value, NamedNumbers kind)
{
    int number = value.toInt();
    if (value.isString())
        numberOf(value.toString(), kind, &number);
    return number;
}
