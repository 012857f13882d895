// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QMap>

/// The entry at position \a index of \a map, reached from the nearer end.
template <typename Key, typename Value>
typename QMap<Key, Value>::const_iterator entryAt(const QMap<Key, Value> &map, int index)
{
    return index < map.size() / 2 ? map.cbegin() + index : map.cend() - (map.size() - index);
}
