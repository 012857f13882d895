// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QString>

// A table in order, and beside it a hash of the same entries, for the lookups: comparing uuids that begin alike on the
// way down the map is most of the price of a read. Every change goes through one of these three, so that neither
// changes without the other; walks and lists are the map's.
namespace UuidIndex {

template <typename Record>
void put(QMap<QString, Record *> &table, QHash<QString, Record *> &byUuid, const QString &uuid, Record *record)
{
    table.insert(uuid, record);
    byUuid.insert(uuid, record);
}

/// The entry after the one taken out.
template <typename Record>
auto take(QMap<QString, Record *> &table, QHash<QString, Record *> &byUuid,
          typename QMap<QString, Record *>::iterator entry)
{
    byUuid.remove(entry.key());
    return table.erase(entry);
}

template <typename Record>
void clear(QMap<QString, Record *> &table, QHash<QString, Record *> &byUuid)
{
    table.clear();
    byUuid.clear();
}

} // namespace UuidIndex
