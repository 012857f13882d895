// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QtGlobal>

/// What a call touches. "Its" pools are those that the call names, by uuid, by server address or by group.
enum Touch : quint32 {
    TouchesNothing = 0,
    LooksUpPool = 1 << 0,  ///< Its pool, with the lock on the pool table.
    AddsPool = 1 << 1,     ///< Its pool, with the lock.
    ListsPools = 1 << 2,   ///< All of them, without the lock.
    RemovesPools = 1 << 3, ///< Its pools, with the lock. They are deleted later.
    UsesPools = 1 << 4,    ///< Its pools, after the lock was released.
    ReadsItems = 1 << 5,   ///< Those of its pools.
    ReadsAnyItems = 1 << 6,
    AddsItem = 1 << 7,     ///< To its pool.
    RemovesItems = 1 << 8, ///< Of its pools.
    LocksItems = 1 << 9,   ///< Holds the lock on the pool table while it is at items.
    UsesAnyPool = 1 << 10, ///< Its pools are all there are.

    UsesApps = 1 << 11, ///< Remote applications, with the lock on their table.
    AddsApp = 1 << 12,
    RemovesApps = 1 << 13, ///< Their records are deleted later.
    ListsApps = 1 << 14,   ///< Without the lock.
    ReadsApps = 1 << 15,   ///< Their records, without the lock.
    ChangesApps = 1 << 16, ///< May change the table without its lock.

    UsesSaas = 1 << 17,   ///< SaaS applications, with the lock on their table.
    ClearsSaas = 1 << 18, ///< Without the lock.

    EndsDatabase = 1 << 19,
    DeletesRecord = 1 << 20, ///< The event loop deletes what was removed before.
};
