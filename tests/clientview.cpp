// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// What a client's compiler sees. First, general names that a client may have for itself: our headers take only names that
// begin with Vm, the namespace VdiVM and RemoteApp.
enum class RecordAccess { Read };
enum class ValueCache { Off };
enum class UuidIndex { Off };
enum class HashedUuid { No };
enum class Log { Off };

#include <vmdatabase/private/vmdatabase_p.h>
#include <vmdatabase/remoteapp.h>
#include <vmdatabase/vmdatabase.h>
#include <vmdatabase/vmitemnode.h>
#include <vmdatabase/vmpolicy.h>
#include <vmdatabase/vmpoolnode.h>
