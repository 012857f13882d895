// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "vmdatabase/vmnode.h"

#include "log_p.h"
#include "text_p.h"
#include "vmdatabase/vdivm.h"

#include <QtCore/QtAlgorithms>

template <typename... Keys>
static constexpr bool shareNoSlot(Keys... keys)
{
    return qPopulationCount(((quint32(1) << VmValues::slot(keys)) | ...)) == sizeof...(keys);
}
static_assert(shareNoSlot(VdiVM::UuidKey, VdiVM::IdKey, VdiVM::NameKey, VdiVM::ServerIpKey, VdiVM::OsTypeKey,
                          VdiVM::OsVersionKey, VdiVM::AllowMultiDynamicKey, VdiVM::PoolTypeKey, VdiVM::PoolStatusKey,
                          VdiVM::ItemStatusKey, VdiVM::ItemPortStatusKey, VdiVM::ItemAddressListKey,
                          VdiVM::ItemIpListKey, VdiVM::ItemActiveKey, VdiVM::ItemIpUsedKey, VdiVM::ServerPortKey,
                          VdiVM::ResourceNameKey, VdiVM::GatewayAccessStrategyKey, VdiVM::PriorityKey,
                          VdiVM::FailedToConnectKey, VdiVM::GroupKey, VdiVM::HiddenKey, VdiVM::PreferredKey),
              "two named keys would take one slot from each other");

// Shared by every node: a copy costs a reference count, a map of its own twenty insertions. Never destroyed, so that
// clients may still create nodes while the process exits.
static const QMap<int, QString> &nodeKeyNames()
{
    static const auto &names = *new QMap<int, QString>{
        {VdiVM::UuidKey, QStringLiteral("Uuid")},
        {VdiVM::IdKey, QStringLiteral("Id")},
        {VdiVM::NameKey, QStringLiteral("Name")},
        {VdiVM::ServerIpKey, QStringLiteral("Server-IP")},
        {VdiVM::OsTypeKey, QStringLiteral("OS-Type")},
        {VdiVM::OsVersionKey, QStringLiteral("OS-Version")},
        {VdiVM::PoolTypeKey, QStringLiteral("Pool-Type")},
        {VdiVM::PoolStatusKey, QStringLiteral("Pool-Status")},
        {VdiVM::ItemStatusKey, QStringLiteral("Item-Status")},
        {VdiVM::ItemPortStatusKey, QStringLiteral("Item-PortStatus")},
        {VdiVM::ItemAddressListKey, QStringLiteral("Item-AddressList")},
        {VdiVM::ItemIpListKey, QStringLiteral("Item-IpList")},
        {VdiVM::ItemActiveKey, QStringLiteral("Item-Active")},
        {VdiVM::ItemIpUsedKey, QStringLiteral("Item-IpUsed")},
        {VdiVM::ServerPortKey, QStringLiteral("Server-Port")},
        {VdiVM::ResourceNameKey, QStringLiteral("VM-ResName")},
        {VdiVM::GatewayAccessStrategyKey, QStringLiteral("VM-GatewayAccessStrategy")},
        {VdiVM::PriorityKey, QStringLiteral("VM-Perrior")},
        {VdiVM::FailedToConnectKey, QStringLiteral("VM-FailedToConnect")},
        {VdiVM::GroupKey, QStringLiteral("VM-Group")},
    };
    return names;
}

VmNode::VmNode(QObject *parent)
    : QObject(parent)
    , keyNames(nodeKeyNames())
{}

VmNode::~VmNode() = default;

QString VmNode::getValue(int key)
{
    QReadLocker locker(&valueLock);
    const QString *value = values.find(key);
    return value ? *value : QString();
}

void VmNode::setValue(int key, const QString &value)
{
    QWriteLocker locker(&valueLock);
    values.insert(key, value);
}

void VmNode::resetValue(int key)
{
    setValue(key, emptyText());
}

void VmNode::printContent()
{
    QString text = nodeType == VdiVM::PoolNode ? QStringLiteral("|(pool)==") : QStringLiteral("|(vm)====");

    // Held until the line is written: no write comes between the values of one dump and its line.
    QReadLocker locker(&valueLock);
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        text += QLatin1Char(' ') + keyNames.value(it.key()) + QStringLiteral(": ");
        // Compatibility: encoded as the locale asks, read back as UTF-8, and cut at the first NUL.
        text += QString::fromUtf8(it.value().toLocal8Bit().constData()) + QLatin1Char(';');
    }
    Log::info("printContent") << "VmNode content = " << text;
}
