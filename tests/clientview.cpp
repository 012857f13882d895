// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// What a client's compiler sees. First, general names that a client may have for itself: our headers take only names that
// begin with Vm, the namespace VdiVM and RemoteApp.
enum class RecordAccess { Read };
enum class Values { Off };
enum class UuidIndex { Off };
enum class HashedUuid { No };
enum class Log { Off };

#include <vmdatabase/private/vmdatabase_p.h>
#include <vmdatabase/remoteapp.h>
#include <vmdatabase/vmdatabase.h>
#include <vmdatabase/vmitemnode.h>
#include <vmdatabase/vmpolicy.h>
#include <vmdatabase/vmpoolnode.h>

// Clients are built against these sizes and offsets. Where one differs, they break without a lost symbol: bring the member
// back, or raise the SOVERSION and the package's name with it.
#ifdef __LP64__
static_assert(sizeof(RemoteApp) == 48);
static_assert(sizeof(VmDatabase) == 24);
static_assert(sizeof(VmDatabasePrivate) == 72);
static_assert(sizeof(VmItemNode) == 400);
static_assert(sizeof(VmNode) == 296);
static_assert(sizeof(VmPolicy) == 16);
static_assert(sizeof(VmPoolNode) == 312);
#    pragma GCC diagnostic ignored "-Winvalid-offsetof" // supported, though the class has virtual functions
static_assert(offsetof(VmNode, nodeType) == 16);
#endif
