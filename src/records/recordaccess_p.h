// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "records/valueindex_p.h"
#include "records/vmindex_p.h"
#include "text_p.h"
#include "vmdatabase/vmpoolnode.h"

/// How the library looks at a record without copying a value or a list out: under the record's own lock, as the public
/// operations would.
class RecordAccess
{
private:
    template <typename Function>
    static auto read(VmNode *node, int key, Function function)
    {
        static const auto &none = *new QString; // never destroyed, as clients may decide while the process exits
        QReadLocker locker(&node->valueLock);
        const QString *value = ValueIndex::find(node->values, node->entries, key);
        return function(value ? *value : none);
    }

public:
    /// The value under \a key as a number, as text_p.h reads it.
    static uint toUnsigned(VmNode *node, int key)
    {
        return read(node, key, [](const QString &text) { return ::toUnsigned(text); });
    }
    static int toSigned(VmNode *node, int key)
    {
        return read(node, key, [](const QString &text) { return ::toSigned(text); });
    }

    /// Whether the value under \a key is \a text; none is like an empty one.
    static bool isEqual(VmNode *node, int key, const QString &text)
    {
        return read(node, key, [&text](const QString &value) { return value == text; });
    }

    /// Whether something is filed under \a uuid, as isExistVmItem() tells.
    static bool hasItem(VmPoolNode *pool, const VmIndexKey &uuid) { return pool->itemsByUuid.contains(uuid); }

    static int itemCount(const VmPoolNode *pool) { return pool->items.size() + 1; }

    /// The node at a position of the pool's getItemList().
    static VmNode *nodeAt(VmPoolNode *pool, int index)
    {
        return index < pool->items.size() ? *VmIndex::at(pool->items, index) : pool;
    }
};
