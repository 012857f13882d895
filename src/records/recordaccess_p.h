// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "mapentry_p.h"
#include "text_p.h"
#include "vmdatabase/vmpoolnode.h"

/// Reads records without copying a value or a list, and looks items up by a uuid that is hashed once. Takes the record's own
/// lock like the public operations.
class VmRecordAccess
{
private:
    template <typename Function>
    static auto read(VmNode *node, int key, Function function)
    {
        QReadLocker locker(&node->valueLock);
        const QString *value = node->values.find(key);
        return value ? function(*value) : function(QString());
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

    /// As isExistVmItem().
    static bool containsItem(const VmPoolNode *pool, const VmHashedUuid &uuid)
    {
        return pool->itemIndex.contains(uuid);
    }

    /// As VmUuidIndex::find().
    static VmNode *const *findItem(const VmPoolNode *pool, const VmHashedUuid &uuid)
    {
        return pool->itemIndex.find(uuid);
    }

    /// As appendVmItem().
    static void appendItem(VmPoolNode *pool, const QString &uuid, const VmHashedUuid &hashed, VmNode *item)
    {
        pool->itemIndex.insert(pool->items, uuid, hashed, item);
    }

    static int itemCount(const VmPoolNode *pool) { return pool->items.size() + 1; }

    /// The node at a position of the pool's getItemList().
    static VmNode *nodeAt(VmPoolNode *pool, int index)
    {
        return index < pool->items.size() ? *entryAt(pool->items, index) : pool;
    }
};
