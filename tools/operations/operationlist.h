// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// Every public operation of VmDatabase but its constructor and destructor, in the header's order: the one list that the
// recorder's forwarders, the player and all that is known about an operation come from. operations.h explains the columns.
// Included with OPERATION defined:
//     name, parameters, arguments, what `key` is, what a recording may hide, what it is about, traits, what it touches

// clang-format off
// NOLINTBEGIN(misc-definitions-in-headers,performance-unnecessary-value-param): no header; signatures as clients have them
OPERATION(clear, (), (), None, HidesNothing, AboutDatabase, Removes | Closes, EndsDatabase)
OPERATION(printDatabase, (), (),
          None, HidesNothing, AboutPools, Reads, ListsPools | UsesPools | UsesAnyPool | ReadsAnyItems)

OPERATION(getNodeValue, (const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key),
          (parentUuid, uuid, type, key), NodeKeys, HidesValueOfKey, AboutNode, Reads, poolValue)
OPERATION(getPoolNodeValue, (const QString &uuid, int key), (uuid, key),
          NodeKeys, HidesValueOfKey, AboutPool, Reads, poolValue)
OPERATION(setNodeValue, (const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key, const QString &value),
          (parentUuid, uuid, type, key, value), NodeKeys, HidesValueOfKey, AboutNode, Writes | Adds, poolValue)
OPERATION(setPoolNodeValue, (const QString &uuid, int key, const QString &value), (uuid, key, value),
          NodeKeys, HidesValueOfKey, AboutPool, Writes, poolValue)
OPERATION(resetNodeValue, (const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key),
          (parentUuid, uuid, type, key), NodeKeys, HidesValueOfKey, AboutNode, Writes, poolValue)
OPERATION(getPolicyValue, (const QString &parentUuid, const QString &uuid, const VdiVM::PolicyType &type, int key),
          (parentUuid, uuid, type, key), None, HidesValueOfKey, AboutPolicy, Reads, itemValue)
OPERATION(setPolicyValue, (const QString &parentUuid, const QString &uuid, const VdiVM::PolicyType &type, int key, const QString &value),
          (parentUuid, uuid, type, key, value), None, HidesValueOfKey, AboutPolicy, Writes | Adds, itemValue)

OPERATION(getItemCount, (), (), None, HidesNothing, AboutNothing, Reads, ReadsAnyItems | LocksItems)
OPERATION(getItemCountByServerIp, (const QString &serverIp), (serverIp),
          None, VdiVM::ServerIpKey, AboutServer, Reads, ReadsItems | LocksItems)
OPERATION(getItemUuid, (int index), (index),
          None, HidesNothing, AboutPools, Reads, ReadsAnyItems | UsesPools | UsesAnyPool)
OPERATION(getItemType, (int index), (index),
          None, HidesNothing, AboutPools, Reads, ReadsAnyItems | UsesPools | UsesAnyPool)
OPERATION(getItemTypeByUuid, (const QString &uuid), (uuid),
          None, HidesNothing, AboutNothing, Reads, ReadsAnyItems | LocksItems)
OPERATION(getParentUuid, (const QString &uuid), (uuid),
          None, HidesNothing, AboutNothing, Reads, ReadsAnyItems | LocksItems)
OPERATION(getUuidByParentUuid, (const QString &parentUuid), (parentUuid),
          None, HidesNothing, AboutStoredUuid, Reads, ReadsItems | LocksItems)
OPERATION(getResourceNameByParentUuid, (const QString &parentUuid), (parentUuid),
          None, VdiVM::ResourceNameKey, AboutPool, Reads, poolValue)
OPERATION(getChildrenByParentUuid, (const QString &parentUuid), (parentUuid),
          None, HidesNothing, AboutItems, Reads, ListsPools | UsesPools | ReadsItems)
OPERATION(getVmPoolNameList, (), (), None, HidesNothing, AboutNothing, Reads, ListsPools)

OPERATION(removeNode, (const QString &uuid), (uuid),
          None, HidesNothing, AboutStoredUuid, Removes, ReadsAnyItems | LocksItems)
OPERATION(removeNodesByServerIp, (const QString &serverIp), (serverIp),
          None, VdiVM::ServerIpKey, AboutServer, Removes, RemovesPools)
OPERATION(removeChildrenByParentUuid, (const QString &parentUuid), (parentUuid),
          None, HidesNothing, AboutItems, Removes, ListsPools | UsesPools | RemovesItems)
OPERATION(removeFamilyByParentUuid, (const QString &parentUuid), (parentUuid),
          None, HidesNothing, AboutFamily, Removes, ListsPools | RemovesPools | UsesPools | ReadsAnyItems | RemovesItems)

OPERATION(wheelVmGroup, (QString group, QString &uuid), (group, uuid),
          None, VdiVM::GroupKey, AboutGroup, Decides, UsesPools | UsesAnyPool)
OPERATION(dealVmPools, (), (),
          None, HidesNothing, AboutPools, Decides, ListsPools | UsesPools | UsesAnyPool | ReadsAnyItems)
OPERATION(dealVmGroupPool, (), (), None, HidesNothing, AboutGroups, Decides, UsesPools | UsesAnyPool | ReadsItems)

OPERATION(getAppCount, (), (), None, HidesNothing, AboutNothing, Reads | NeedsOpen, UsesApps)
OPERATION(getAppNames, (), (), None, HidesNothing, AboutNothing, Reads, ListsApps)
OPERATION(getRemoteAppId, (int index), (index), None, HidesNothing, AboutNothing, Reads, UsesApps)
OPERATION(getRemoteAppValue, (QString appId, int key), (appId, key),
          AppKeys, HidesValueOfKey, AboutNothing, Reads, UsesApps)
OPERATION(setRemoteAppValue, (QString appId, int key, const QString &value), (appId, key, value),
          AppKeys, HidesValueOfKey, AboutRemoteApp, Writes | Adds, UsesApps)
OPERATION(deleteRemoteApp, (QString appId), (appId),
          None, HidesNothing, AboutRemoteApp, Removes, ChangesApps | RemovesApps)
OPERATION(getRemoteAppControlPolicy, (QString appId), (appId),
          None, HidesNothing, AboutControlPolicy, Reads, ChangesApps)
OPERATION(setRemoteAppControlPolicy, (QString appId, const QJsonObject &policy), (appId, policy),
          None, HidesNothing, AboutControlPolicy, Writes, ChangesApps)
OPERATION(clearRemoteAppList, (), (), None, HidesNothing, AboutRemoteApps, Removes, UsesApps | RemovesApps)
OPERATION(setRemoteAppEnd, (), (), None, HidesNothing, AboutNothing, NoTraits, TouchesNothing)

OPERATION(getSaasAppCount, (), (), None, HidesNothing, AboutNothing, Reads | NeedsOpen, UsesSaas)
OPERATION(getSaasAppId, (int index), (index), None, HidesNothing, AboutNothing, Reads, UsesSaas)
OPERATION(getSaasAppValue, (QString appId, int key), (appId, key),
          AppKeys, HidesValueOfKey, AboutNothing, Reads, UsesSaas)
OPERATION(setSaasAppValue, (QString appId, int key, const QString &value), (appId, key, value),
          AppKeys, HidesValueOfKey, AboutSaasApp, Writes | Adds, UsesSaas)
OPERATION(clearSaasAppList, (), (), None, HidesNothing, AboutSaasApps, Removes | NeedsOpen, ClearsSaas)

OPERATION(getAppsInfo, (), (), None, HidesAnswer, AboutRemoteApps, Reads, ListsApps | ReadsApps)
OPERATION(getAppsIdList, (), (), None, HidesNothing, AboutNothing, Reads, ListsApps)
OPERATION(buildKeyName, (QString prefix, QString name), (prefix, name),
          None, HidesNothing, AboutNothing, Reads, TouchesNothing)
// NOLINTEND(misc-definitions-in-headers,performance-unnecessary-value-param)
// clang-format on
