// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

/// The numbers that clients, servers and the library have agreed on. Operations take keys as plain `int`: every key is
/// stored and read alike, and a server may use keys that have no name here. Likewise every `int` is a valid VmType and
/// PolicyType, `VdiVM::VmType(3)` for example: the enumerations have a fixed underlying type.
namespace VdiVM {

/// What kind of node is meant. Every number but ItemNode addresses a pool; setNodeValue() refuses UnknownNode.
enum VmType : int {
    UnknownNode = 0, ///< A bare VmNode; also the answer for a node that does not exist.
    PoolNode = 1,    ///< A pool of virtual machines.
    ItemNode = 2,    ///< One virtual machine inside a pool.
};

/// Selects one of an item's ten policy records: 0 to 4 and 6 to 10. There is none for 5 and for any other number. The
/// types have no names: what each one controls is settled between the client and its servers.
enum PolicyType : int {};

/// The keys of pools and items that have a meaning inside the library or a label in the dump.
enum NodeKey : int {
    UuidKey = 0,               ///< Both: the node's own uuid. Label "Uuid".
    IdKey = 1,                 ///< Both: "Id".
    NameKey = 3,               ///< Both: "Name", what a user sees.
    ServerIpKey = 4,           ///< Pool: "Server-IP", the address of its server; 4 is meant, though the port is 300.
    OsTypeKey = 5,             ///< Both: "OS-Type".
    OsVersionKey = 6,          ///< Both: "OS-Version".
    AllowMultiDynamicKey = 13, ///< Pool: not 0 (signed) allows several dynamic desktops. No label.
    PoolTypeKey = 100,         ///< Pool: "Pool-Type"; 1, 3 and 7 are shown or hidden by their item count alone.
    PoolStatusKey = 101,       ///< Pool: "Pool-Status".
    ItemStatusKey = 200,       ///< Item: "Item-Status".
    ItemPortStatusKey = 201,   ///< Item: "Item-PortStatus".
    ItemAddressListKey = 202,  ///< Item: "Item-AddressList".
    ItemIpListKey = 203,       ///< Item: "Item-IpList".
    ItemActiveKey = 204,       ///< Item: "Item-Active"; 1 marks an active item, a new item has "0".
    ItemIpUsedKey = 205,       ///< Item: "Item-IpUsed".
    ServerPortKey = 300,       ///< Both: "Server-Port".
    ResourceNameKey = 301,     ///< Both: "VM-ResName".
    GatewayAccessStrategyKey = 302, ///< Both: "VM-GatewayAccessStrategy".
    PriorityKey = 305,              ///< Pool: "VM-Perrior"; the higher number leads its group.
    FailedToConnectKey = 306,       ///< Pool: "VM-FailedToConnect"; not 0 after a failed connection.
    GroupKey = 307,                 ///< Pool: "VM-Group", the group's name; empty for none.
    HiddenKey = 308,                ///< Pool: written by the library, "1" hidden, "0" shown. No label.
    PreferredKey = 309,             ///< Pool: not 0 leads its group before any priority. No label.
};

/// The keys of applications that the library itself reads or writes; every other `int` is the client's.
enum AppKey : int {
    AppIdKey = 1,            ///< The application's id; written for remote applications only.
    AppSummaryKey = 10,      ///< The text under which getAppsInfo() lists a remote application.
    AppSummaryValueKey = 11, ///< The text that getAppsInfo() lists there.
};

} // namespace VdiVM
