// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <vmdatabase/vmdatabase_export.h>

#include <QtCore/QMap>
#include <QtCore/QReadWriteLock>
#include <QtCore/QString>

/// One policy of one item: texts by integer key. Every `int`, negative ones included, is a key like any other.
///
/// Thread-safe while it exists. Each operation takes the record's own lock for the call and logs nothing; a result can
/// be stale at once. A plain class, not a QObject, and not meant as a base class.
class VMDATABASE_EXPORT VmPolicy
{
    Q_DISABLE_COPY(VmPolicy)

public:
    /// A policy without values.
    VmPolicy();
    ~VmPolicy();

    /// Returns the text stored under \a key; a null text if there is none.
    QString getValue(int key);

    /// Stores \a value under \a key in place of what was there. An empty text is stored like any other.
    void setValue(int key, const QString &value);

    /// Removes every value.
    void clear();

private:
    friend class VmStoreInspection;

    QMap<int, QString> values;
    QReadWriteLock valueLock; // guards values, and only values
};
