// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>

#include <array>

// The values of a node, and beside them where some lie, by key: an entry of the map stays where it is when others come,
// and nothing takes one out. Nobody may copy the map, for a write would detach it, away from where its entries are known.
// Keys that share a place take it from each other; a key without one is looked up in the map.
namespace ValueIndex {

using Entry = QMap<int, QString>::iterator;
using Entries = std::array<Entry, 31>;

inline bool isOf(int key, Entry entry)
{
    return entry != Entry() && entry.key() == key;
}

/// The value under \a key; null if there is none.
inline const QString *find(const QMap<int, QString> &values, const Entries &entries, int key)
{
    const Entry entry = entries[uint(key) % entries.size()];
    if (isOf(key, entry))
        return &*entry;
    const auto it = values.constFind(key);
    return it == values.cend() ? nullptr : &*it;
}

inline void put(QMap<int, QString> &values, Entries &entries, int key, const QString &value)
{
    Entry &entry = entries[uint(key) % entries.size()];
    if (isOf(key, entry))
        *entry = value;
    else
        entry = values.insert(key, value);
}

} // namespace ValueIndex
