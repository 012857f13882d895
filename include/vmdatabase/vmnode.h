// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <vmdatabase/private/vmindexes_p.h>
#include <vmdatabase/vmdatabase_export.h>

#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QReadWriteLock>
#include <QtCore/QString>

/// The record of one node, a pool or an item: texts by integer key. Every `int` is a key; see VdiVM::NodeKey.
///
/// Thread-safe while it exists. Each operation takes the record's own lock for the call; a result can be stale at
/// once. No thread may still be using a node when its owner deletes it.
class VMDATABASE_EXPORT VmNode : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(VmNode)

public:
    /// A node without values whose nodeType is VdiVM::UnknownNode. The library gives its nodes no QObject parent.
    explicit VmNode(QObject *parent = nullptr);
    ~VmNode() override;

    /// Returns the text stored under \a key; a null text if there is none.
    QString getValue(int key);

    /// Stores \a value under \a key in place of what was there. An empty text is stored like any other.
    void setValue(int key, const QString &value);

    /// Stores an empty, not null text under \a key. The key stays or is added, never removed.
    void resetValue(int key);

    /// Logs one line at info level: [ printContent ] VmNode content =  "|(pool)== Uuid: p-1; Name: Office;", in
    /// ascending key order, "|(vm)====" for anything but a pool, and no label for a key that has none. Values go
    /// through the local 8-bit encoding and are read back as UTF-8 up to the first NUL, so plain ASCII prints
    /// unchanged.
    ///
    /// The line is written with the record's read lock held: a message handler must not use the same node.
    void printContent();

    /// A VdiVM::VmType. Set once, right after construction, by whoever creates the node; read without a lock.
    int nodeType = 0;

private:
    friend class VmRecordAccess;
    friend class VmStoreInspection;

    VmValues values;             // without its cache the read of an item takes a third longer
    QReadWriteLock valueLock;    // guards values, and only values
    QMap<int, QString> keyNames; // never changes; all nodes share one map
};
