// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <cstring>

/// A uuid or id to look up, hashed once however many tables are asked. It views a text and does not keep it.
struct UuidKey
{
    UuidKey(const QString &uuid)
        : text(uuid.constData())
        , size(uuid.size())
        , hash(::qHash(uuid, 1)) // without a seed Qt takes its portable hash, four times as long
    {}

    const QChar *text;
    int size;
    uint hash;
};

inline bool operator==(const UuidKey &a, const UuidKey &b)
{
    return a.size == b.size && std::memcmp(a.text, b.text, size_t(a.size) * sizeof(QChar)) == 0;
}

inline uint qHash(const UuidKey &key, uint seed = 0)
{
    return key.hash ^ seed;
}

// A table in order, and beside it a hash of the same entries, for the lookups: comparing uuids that begin alike on the
// way down the map is most of the price of a read. Every change goes through one of these three, so that neither
// changes without the other; walks and lists are the map's.
namespace UuidIndex {

template <typename Record>
void put(QMap<QString, Record *> &table, QHash<UuidKey, Record *> &byUuid, const QString &uuid, Record *record)
{
    byUuid.insert(table.insert(uuid, record).key(), record); // the table's key, which stays when the record is replaced
}

/// The entry after the one taken out.
template <typename Record>
auto take(QMap<QString, Record *> &table, QHash<UuidKey, Record *> &byUuid,
          typename QMap<QString, Record *>::iterator entry)
{
    byUuid.remove(entry.key());
    return table.erase(entry);
}

template <typename Record>
void clear(QMap<QString, Record *> &table, QHash<UuidKey, Record *> &byUuid)
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

} // namespace UuidIndex
