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
    /// \name The tree
    /// All nodes stand in one list: pool by pool, each pool's items and then the pool itself. Their positions count
    /// from 0 and any insertion or removal renumbers them. Except where a doc says "no lock", the pool table is locked
    /// for the whole walk.
    /// @{

    /// The number of nodes: items plus pools.
    int getItemCount();

    /// The number of nodes in the pools whose VdiVM::ServerIpKey is \a serverIp; unset and empty are the same.
    int getItemCountByServerIp(const QString &serverIp);

    /// The VdiVM::UuidKey of the node at position \a index; an empty text out of range, also for a negative one. It is
    /// read after the table's lock is released: the node must not be removed meanwhile.
    QString getItemUuid(int index);

    /// The VdiVM::VmType of the node at position \a index; 0 out of range. Read as by getItemUuid().
    int getItemType(int index);

    /// VdiVM::PoolNode if there is a pool \a uuid, else VdiVM::ItemNode if any pool has such an item, else 0.
    int getItemTypeByUuid(const QString &uuid);

    /// The VdiVM::UuidKey of the first pool with an item \a uuid, or else \a uuid if it is a pool's: a pool is its own
    /// parent. An empty text if it is unknown, and for an empty one, which is logged as critical.
    QString getParentUuid(const QString &uuid);

    /// The uuid of the only item of the pool whose VdiVM::UuidKey is \a parentUuid; an empty text if there is no such
    /// pool or it has no item or several. Logs "999 uuid = " and both at info level with the pool table locked for
    /// reading: a message handler must not add or remove pools. An empty uuid answers an empty text and is logged as
    /// critical.
    QString getUuidByParentUuid(const QString &parentUuid);

    /// The VdiVM::ResourceNameKey of pool \a parentUuid, which is made if unknown; an empty text for an empty uuid,
    /// which is logged as critical. Locks as getPoolNodeValue().
    QString getResourceNameByParentUuid(const QString &parentUuid);

    /// The VdiVM::UuidKey of each item of pool \a parentUuid. An unknown pool is not made: the list is empty and a
    /// critical line logged. No lock: pools and the pool's items must not be added or removed meanwhile.
    QList<QString> getChildrenByParentUuid(const QString &parentUuid);

    /// The uuid under which each pool is filed; no names, despite its own. No lock: pools must not be added or removed
    /// meanwhile.
    QList<QString> getVmPoolNameList();

    /// Removes the first node that matches: in each pool first the pool itself, by its VdiVM::UuidKey, then its item
    /// filed under \a uuid. A pool leaves the table at once and is deleted with its items by the event loop of the
    /// thread that made it; an item is deleted at once. Nothing happens for an unknown uuid.
    void removeNode(const QString &uuid);

    /// Removes every pool whose VdiVM::ServerIpKey is \a serverIp, as removeNode() does; an empty text means those
    /// without.
    void removeNodesByServerIp(const QString &serverIp);

    /// Deletes all items of pool \a parentUuid at once; the pool stays. An unknown pool is logged as critical. No lock:
    /// pools must not be added or removed meanwhile, and nobody may use the items.
    void removeChildrenByParentUuid(const QString &parentUuid);

    /// removeChildrenByParentUuid() and then removeNode(), with no lock between: if an earlier pool has an item of that
    /// uuid, it is that item that goes.
    void removeFamilyByParentUuid(const QString &parentUuid);

    /// @}
    /// \name Decisions
    /// A pool's group is the text of its VdiVM::GroupKey. Within a group pools that have not failed to connect
    /// (VdiVM::FailedToConnectKey reads as 0) lead, then preferred ones (VdiVM::PreferredKey is not 0), then the higher
    /// VdiVM::PriorityKey; pools alike in all three have no defined order. Texts are read as unsigned decimal numbers,
    /// "not a number" as 0. A decision is written to VdiVM::HiddenKey, "1" hidden or "0" shown, and read from there;
    /// two at once may mix. Pools must not be removed meanwhile.
    /// @{

    /// Turns the wheel of \a group: its lead pool is shown and all others hidden. Answers whether the lead is usable,
    /// that is, has not failed to connect; then \a uuid becomes its uuid, otherwise \a uuid is left alone. An empty \a
    /// group means the pools without one; a group without pools answers false. The pool table is locked while the group
    /// is gathered. Logs each pool and the choice at info level.
    bool wheelVmGroup(QString group, QString &uuid);

    /// Decides for every pool. One with an active item is no longer marked as failed. Pools of VdiVM::PoolTypeKey 1, 3
    /// and 7 are shown while they hold no item; others with a group are hidden until dealVmGroupPool(), which comes
    /// last; the rest is shown if VdiVM::AllowMultiDynamicKey (signed) is not 0, or while it holds no item. Logs
    /// decisions at info level. No lock on the table while the pools are listed: pools must not be added meanwhile
    /// either.
    void dealVmPools();

    /// Decides for every pool that has a group: its lead pool is shown if some pool of the group has both
    /// VdiVM::AllowMultiDynamicKey and VdiVM::PreferredKey not 0, or if none holds an item; everything else is hidden.
    /// The pool table is locked while the groups are gathered. Logs decisions at info level.
    void dealVmGroupPool();

    /// @}
    /// \name Remote applications
    /// Records by id, kept until deleteRemoteApp() or clearRemoteAppList(). The id is stored under VdiVM::AppIdKey; an
    /// empty value is ignored, see RemoteApp::setValue(). The control-policy operations list an id that they do not
    /// know, without a record: it is counted, listed and removable like any other, unknown to value reads, and gets a
    /// record with its first value. The operations marked "no lock" must not run while another thread uses these
    /// applications.
    /// @{

    /// The number of ids. Must not be called on a closed database.
    int getAppCount();

    /// All ids. No lock.
    QList<QString> getAppNames();

    /// The id at position \a index; an empty text out of range.
    QString getRemoteAppId(int index);

    /// The value under \a key; an empty text if there is none. An id without a record answers an empty text and is
    /// logged at info level, "Error couldn't find ", with all ids, while the applications are locked for reading: a
    /// message handler must not write to them.
    QString getRemoteAppValue(QString appId, int key);

    /// Stores \a value, making the record first if there is none, also when \a value is empty. \a key VdiVM::AppIdKey
    /// overwrites the id in the record, not the one it is listed under.
    void setRemoteAppValue(QString appId, int key, const QString &value);

    /// Takes the id out; its record goes by QObject::deleteLater(). Emits nothing. No lock.
    void deleteRemoteApp(QString appId);

    /// The control policy itself, not a copy: it shows later changes and ends with the record. An id without a record
    /// gets the one empty object that is shared by all; so does a closed database. No lock.
    const QJsonObject &getRemoteAppControlPolicy(QString appId);

    /// Replaces the control policy; that of an id without a record is dropped. No lock.
    void setRemoteAppControlPolicy(QString appId, const QJsonObject &policy);

    /// Takes all ids out; the records go by QObject::deleteLater(). Emits remoteAppsUpdated(), unless closed.
    void clearRemoteAppList();

    /// Emits remoteAppsUpdated(), closed or not: call it once after a batch of changes. Takes no lock and needs none.
    void setRemoteAppEnd();

    /// @}
    /// \name SaaS applications
    /// Records by id, kept until clearSaasAppList(). Unlike remote ones they do not store their id, cannot be removed
    /// singly, have no control policy and no signal, log nothing, and are deleted at once.
    /// @{

    /// The number of ids. Must not be called on a closed database.
    int getSaasAppCount();

    /// The id at position \a index; an empty text out of range.
    QString getSaasAppId(int index);

    /// The value under \a key; an empty text if there is none, for an unknown id as well.
    QString getSaasAppValue(QString appId, int key);

    /// Stores \a value, making the record first if there is none, also when \a value is empty.
    void setSaasAppValue(QString appId, int key, const QString &value);

    /// Removes all SaaS applications. No lock: no other thread may use them. Must not be called on a closed database.
    void clearSaasAppList();

    /// @}
    /// \name Summary of the remote applications
    /// @{

    /// The VdiVM::AppSummaryKey of each record mapped to its VdiVM::AppSummaryValueKey; ids without a record are left
    /// out. Of several with the same first text, the empty one included, the last by id counts. No lock on the
    /// applications: a copy of the list is walked, on the thread that makes and deletes them or while nobody changes
    /// them.
    QMap<QString, QString> getAppsInfo();

    /// All ids, as getAppNames(), from a copy of the list as well. No lock.
    QList<QString> getAppsIdList();

    /// "[prefix]name", or \a name alone if \a prefix is empty. A "%1" in \a prefix is replaced by \a name as well,
    /// instead of the text's end: "a%1" and "b" give "[ab]%2". Uses nothing of the database.
    QString buildKeyName(QString prefix, QString name);

    /// @}

Q_SIGNALS:
    /// The client has ended a batch of changes to the remote applications, or their list was cleared. Emitted on the
    /// calling thread, with no lock held.
    void remoteAppsUpdated();

private:
    VmDatabasePrivate *d; // owned; null once closed
};
