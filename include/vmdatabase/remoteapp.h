// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <vmdatabase/vmdatabase_export.h>

#include <QtCore/QJsonObject>
#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QReadWriteLock>
#include <QtCore/QString>

/// The record of one application, remote or SaaS: texts by integer key and a control policy that the library does not
/// interpret. Every `int` is a key, negative ones included; see VdiVM::AppKey. No operation logs.
///
/// The values are thread-safe: getValue() and setValue() take the record's own lock, and a result can be stale at
/// once. The control policy has no lock: see its operations.
class VMDATABASE_EXPORT RemoteApp : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(RemoteApp)

public:
    /// A record without values and with an empty control policy.
    explicit RemoteApp(QObject *parent);

    /// The same with \a appId stored under VdiVM::AppIdKey, unless it is empty: see setValue().
    RemoteApp(QString appId, QObject *parent);

    ~RemoteApp() override;

    /// Returns the text stored under \a key; an empty, not null text if there is none (VmNode returns a null one).
    QString getValue(int key);

    /// Stores \a value under \a key in place of what was there. An empty text is ignored: a stored value can be
    /// replaced, but neither emptied nor removed.
    void setValue(int key, const QString &value);

    /// Replaces the whole control policy. No lock: during the call no other thread may replace it or read it, not even
    /// through a reference.
    void setControlPolicy(const QJsonObject &policy);

    /// Returns a reference to the control policy itself, which shows what a later setControlPolicy() stores and is
    /// valid as long as the record. No lock: no other thread may call setControlPolicy() while the reference is read.
    const QJsonObject &getControlPolicy() const;

private:
    friend class VmStoreInspection;

    QMap<int, QString> values;
    QReadWriteLock valueLock;  // guards values, and only values
    QJsonObject controlPolicy; // guarded by no lock
};
