// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <vmdatabase/vdivm.h>
#include <vmdatabase/vmdatabase_export.h>

#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QString>

class VmDatabasePrivate;

/// What a virtual-desktop client has learnt from its servers: pools of virtual machines, the machines (items) in them,
/// their policies, remote and SaaS applications. Everything is text by integer key, lives in memory and ends with the
/// database. The client feeds it value by value, reads it back, and asks which pools to show and which to try next.
///
/// **Threads.** Any thread may call any operation at any time, except where a doc says "no lock". Each of the three
/// tables (pools, remote applications, SaaS applications) has a lock of its own and so has every record; none outlives
/// a call. Every answer may be stale at once: another thread may have changed what it tells. An operation that takes no
/// lock must not run while another thread adds to or removes from what it reads. Adding an item takes no lock either:
/// one pool's items may be added or removed by one thread at a time, and not be looked up or listed meanwhile. First
/// mentions of one pool have to be serialised: of two at once, one loses what it wrote. clear() and destruction are the
/// caller's to keep apart from everything else.
///
/// **Answers.** A uuid or id is compared exactly; lists and positions follow ascending QString order. A missing value
/// of a pool, item or policy is a null text; every other text that has nothing to tell is empty but not null.
///
/// **Closed.** After clear() the database is closed for good and every operation does nothing, silently, and answers an
/// empty text, an empty list, 0 or false. Three are excepted and must not be called then: getAppCount(),
/// getSaasAppCount() and clearSaasAppList().
///
/// **Logging** goes through Qt's message handler, category "default". What is not said to log is silent.
class VMDATABASE_EXPORT VmDatabase : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(VmDatabase)

public:
    /// An empty, open database.
    explicit VmDatabase(QObject *parent = nullptr);

    /// Releases what clear() does, and logs "Yes, free db now!!" at info level, closed before or not. Remote
    /// applications that are still listed stay allocated: clearRemoteAppList() frees them.
    ~VmDatabase() override;

    /// Closes the database and logs so at info level; a second call does neither. Pools go when the event loop of the
    /// thread that made them runs deferred deletions, SaaS applications at once; for remote ones see the destructor.
    void clear();

    /// Logs every pool and its items, a line each as VmNode::printContent() does. No lock on the pools.
    void printDatabase();

    /// \name Values of pools and items
    /// A pool is addressed by its own uuid, an item by its pool's and its own. Where a \a type is asked for,
    /// VdiVM::ItemNode means an item and everything else the pool under \a parentUuid, with \a uuid ignored. Naming a
    /// pool makes it, with its uuid under VdiVM::UuidKey, even when only reading. The pool table is locked while the
    /// pool is looked up, the record while its value is used, and nothing between: a node removed meanwhile must not be
    /// in use. Reports are critical; those marked with * are followed by a second line with signature and source line.
    /// @{

    /// The value under \a key; an empty text for an unknown item, and for an empty uuid of a pool. Logs an empty
    /// \a parentUuid of an item: "parent uuid is empty, but the node is vm item node, ..." *.
    QString getNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key);

    /// The value under \a key of pool \a uuid; an empty text for an empty uuid.
    QString getPoolNodeValue(const QString &uuid, int key);

    /// Stores \a value; an item is made on first mention, but if that has VdiVM::UuidKey, the value is dropped and the
    /// uuid stored. Later writes of that key change it, though the item stays filed under the old one. Refused and
    /// logged: VdiVM::UnknownNode, an empty uuid of what is addressed ("error: ...") and an empty pool of an item.
    void setNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key,
                      const QString &value);

    /// Stores \a value in pool \a uuid. An empty uuid stores nothing and logs two lines.
    void setPoolNodeValue(const QString &uuid, int key, const QString &value);

    /// Stores an empty, not null text. Makes no item: an unknown one is logged *, and so is an empty pool uuid *.
    void resetNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key);

    /// @}
    /// \name Policy values of items
    /// Addressed by pool uuid, item uuid, policy type and key; pools, locks and reports as above.
    /// @{

    /// The value under \a key; an empty text if a uuid is empty (silent), the item unknown * or \a type without record
    /// *.
    QString getPolicyValue(const QString &parentUuid, const QString &uuid, const VdiVM::PolicyType &type, int key);

    /// Stores \a value, making the item on first mention, also under an empty \a uuid. A \a type without record is
    /// logged * and stores nothing, but the item is made. An empty \a parentUuid stores nothing, logs two lines and
    /// leaks an item.
    void setPolicyValue(const QString &parentUuid, const QString &uuid, const VdiVM::PolicyType &type, int key,
                        const QString &value);

    /// @}

Q_SIGNALS:
    /// The client has ended a batch of changes to the remote applications, or their list was cleared. Emitted on the
    /// calling thread, with no lock held.
    void remoteAppsUpdated();

private:
    VmDatabasePrivate *d; // owned; null once closed
};
