// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <array>
#include <cstring>
#include <utility>

// What finds the entries of an ordered map faster than the map does. Walks and lists use the map. No promise of source
// stability.
//
// Each makes the class that has it larger, and so moves the members of classes derived from it. No inline function
// touches a private member, so it is the sizes alone that clients are built against.

/// The values of a node: a map, and a direct-mapped cache of its entries with one slot for each remainder of a key.
/// Keys that share a slot take it from each other; the map finds a key that has lost its slot.
///
/// An entry of a QMap stays where it is when others are added, and nothing removes one here. A copy of the map would
/// make the next write detach it from the entries in the cache, so there is none.
class VmValues
{
    Q_DISABLE_COPY(VmValues)
    using Map = QMap<int, QString>;

public:
    VmValues() = default;

    static constexpr size_t slot(int key) { return uint(key) % slotCount; }

    /// The value under \a key; null if there is none.
    const QString *find(int key) const
    {
        const Map::iterator entry = entries[slot(key)];
        if (isOf(key, entry))
            return &entry.value();
        const auto it = values.constFind(key);
        return it == values.cend() ? nullptr : &it.value();
    }

    void insert(int key, const QString &value)
    {
        Map::iterator &entry = entries[slot(key)];
        if (isOf(key, entry))
            *entry = value;
        else
            entry = values.insert(key, value);
    }

    Map::const_iterator cbegin() const { return values.cbegin(); }
    Map::const_iterator cend() const { return values.cend(); }

private:
    static constexpr size_t slotCount = 31;

    static bool isOf(int key, Map::iterator entry) { return entry != Map::iterator() && entry.key() == key; }

    Map values;
    std::array<Map::iterator, slotCount> entries;
};

/// A uuid or id with its hash, computed once however many lookups follow. It is a view of the text and does not keep
/// it, so there is none of a temporary. Null equals empty.
class VmHashedUuid
{
public:
    VmHashedUuid(const QString &&) = delete;
    VmHashedUuid(const QString &uuid)
        : text(uuid.constData())
        , size(uuid.size())
        , hash(::qHash(uuid, seed()))
    {}

    friend bool operator==(const VmHashedUuid &a, const VmHashedUuid &b)
    {
        return a.size == b.size && std::memcmp(a.text, b.text, size_t(a.size) * sizeof(QChar)) == 0;
    }
    friend uint qHash(const VmHashedUuid &uuid, uint hashSeed = 0) { return uuid.hash ^ hashSeed; }

private:
    // Random for each process, so that nobody can choose uuids that collide. Never 0, for which Qt uses a hash that is
    // four times as slow. Constant, whatever a client sets later.
    static uint seed()
    {
        static const uint seed = uint(qGlobalQHashSeed()) | 1;
        return seed;
    }

    const QChar *text;
    int size;
    uint hash;
};

/// A hash index of an ordered map of records by uuid or id.
template <typename Record>
class VmUuidIndex
{
    using Map = QMap<QString, Record *>;

public:
    bool contains(const VmHashedUuid &uuid) const { return entries.contains(uuid); }

    /// The record under \a uuid, which may be a null pointer; null if there is no entry.
    Record *const *find(const VmHashedUuid &uuid) const
    {
        const auto it = entries.constFind(uuid);
        return it == entries.cend() ? nullptr : &it.value();
    }

    /// As find(), without the difference between a null pointer and no entry.
    Record *value(const VmHashedUuid &uuid) const { return entries.value(uuid); }

    /// Adds the entry, or replaces its record; \a hashed is made from \a uuid, whose text the map's key shares. Adds
    /// nothing to either when memory runs out.
    void insert(Map &map, const QString &uuid, const VmHashedUuid &hashed, Record *record)
    {
        const auto entry = map.insert(uuid, record);
        QT_TRY
        {
            entries.insert(hashed, record);
        }
        QT_CATCH(...)
        {
            map.erase(entry);
            QT_RETHROW;
        }
    }

    /// Removes an entry and answers the one after it.
    typename Map::iterator remove(Map &map, typename Map::iterator entry)
    {
        entries.remove(entry.key());
        return map.erase(entry);
    }

    /// Removes all entries and answers what the map held.
    Map takeAll(Map &map)
    {
        entries.clear();
        return std::exchange(map, Map());
    }

private:
    QHash<VmHashedUuid, Record *> entries;
};
