// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

/// The numbers that clients, servers and the library have agreed on. Operations take keys as plain `int`: every key is
/// stored and read alike, and a server may use keys that have no name here. Every `int` is a valid VmType and
/// PolicyType, `VdiVM::VmType(3)` for example: the enumerations have a fixed underlying type.
namespace VdiVM {

/// The kind of a node. Every number but ItemNode names a pool; setNodeValue() refuses UnknownNode.
enum VmType : int {
    UnknownNode = 0, ///< A bare VmNode; also returned for a node that does not exist.
    PoolNode = 1,    ///< A pool of virtual machines.
    ItemNode = 2,    ///< One virtual machine inside a pool.
};

/// Selects one of an item's ten policy records: 0 to 4 and 6 to 10. There is none for 5 and for any other number. The
/// types have no names: what each one controls is settled between the client and its servers.
enum PolicyType : int {};

/// The keys of pools and items that the library uses or labels in VmNode::printContent(). docs/data-model.md says what
/// it does with each.
enum NodeKey : int {
    UuidKey = 0,                    ///< Both.
    IdKey = 1,                      ///< Both.
    NameKey = 3,                    ///< Both: what a user sees.
    ServerIpKey = 4,                ///< Pool: the address of its server. Compatibility: 4, although the port is 300.
    OsTypeKey = 5,                  ///< Both.
    OsVersionKey = 6,               ///< Both.
    AllowMultiDynamicKey = 13,      ///< Pool: not 0 allows several dynamic desktops.
    PoolTypeKey = 100,              ///< Pool.
    PoolStatusKey = 101,            ///< Pool.
    ItemStatusKey = 200,            ///< Item.
    ItemPortStatusKey = 201,        ///< Item.
    ItemAddressListKey = 202,       ///< Item.
    ItemIpListKey = 203,            ///< Item.
    ItemActiveKey = 204,            ///< Item: 1 if active.
    ItemIpUsedKey = 205,            ///< Item.
    ServerPortKey = 300,            ///< Both.
    ResourceNameKey = 301,          ///< Both.
    GatewayAccessStrategyKey = 302, ///< Both.
    PriorityKey = 305,              ///< Pool.
    FailedToConnectKey = 306,       ///< Pool: not 0 after a failed connection.
    GroupKey = 307,                 ///< Pool: the name of its group.
    HiddenKey = 308,                ///< Pool: what the library has decided, "1" hidden, "0" shown.
    PreferredKey = 309,             ///< Pool: not 0 if preferred in its group.
};

/// The keys of applications that the library itself reads or writes; every other `int` is the client's.
enum AppKey : int {
    AppIdKey = 1,            ///< The application's id; written for remote applications only.
    AppSummaryKey = 10,      ///< The text under which getAppsInfo() lists a remote application.
    AppSummaryValueKey = 11, ///< The text that getAppsInfo() lists there.
};

} // namespace VdiVM
