// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <cstring>

/// A uuid or id to look up, hashed once however many tables are asked. It views a text and does not keep it.
struct VmIndexKey
{
    VmIndexKey(const QString &uuid)
        : text(uuid.constData())
        , size(uuid.size())
        , hash(::qHash(uuid, seed()))
    {}

    const QChar *text;
    int size;
    uint hash;

private:
    // Random for each process, so that nobody can make uuids that collide; never 0, for which Qt takes a hash that is four
    // times as slow; and the same for good, whatever a client sets later.
    static uint seed()
    {
        static const uint seed = uint(qGlobalQHashSeed()) | 1;
        return seed;
    }
};

inline bool operator==(const VmIndexKey &a, const VmIndexKey &b)
{
    return a.size == b.size && std::memcmp(a.text, b.text, size_t(a.size) * sizeof(QChar)) == 0;
}

inline uint qHash(const VmIndexKey &key, uint seed = 0)
{
    return key.hash ^ seed;
}

// A table in order, and beside it a hash of the same entries, for the lookups: comparing uuids that begin alike on the
// way down the map is most of the price of a read. Every change goes through one of these three, so that neither
// changes without the other; walks and lists are the map's.
namespace VmIndex {

template <typename Record>
void put(QMap<QString, Record *> &table, QHash<VmIndexKey, Record *> &byUuid, const QString &uuid, Record *record)
{
    byUuid.insert(table.insert(uuid, record).key(), record); // the table's key, which stays when the record is replaced
}

/// The entry after the one taken out.
template <typename Record>
auto take(QMap<QString, Record *> &table, QHash<VmIndexKey, Record *> &byUuid,
          typename QMap<QString, Record *>::iterator entry)
{
    byUuid.remove(entry.key());
    return table.erase(entry);
}

template <typename Record>
void clear(QMap<QString, Record *> &table, QHash<VmIndexKey, Record *> &byUuid)
{
    byUuid.clear();
    table.clear();
}

/// The entry at a position, reached from the nearer end.
template <typename Record>
auto at(const QMap<QString, Record> &table, int index)
{
    return index < table.size() / 2 ? table.cbegin() + index : table.cend() - (table.size() - index);
}

} // namespace VmIndex
