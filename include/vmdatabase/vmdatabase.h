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
/// **Threads.** Any thread may call any operation at any time, with these exceptions:
/// - Each table (pools, remote applications, SaaS applications) has a read/write lock, and so has each record. What
///   reads a table locks it for reading, what adds or removes locks it for writing. An operation whose doc says "no
///   lock" must not run while another thread adds to or removes from that table.
/// - A pool's items have no lock, whatever is locked besides: while one is added or removed, no other thread may look
///   up, list, count, dump, remove or decide upon the items of that pool. A removed item must not be in use.
/// - A removed pool must not be in use when it is deleted: see removeNode().
/// - First mentions of one pool are the caller's to serialise: of two at once, one may write to a pool that is lost.
/// - clear() and destruction are the caller's to keep apart from everything else.
///
/// Every answer can be stale at once: another thread may have changed what it tells.
///
/// **Answers.** Uuids and ids are compared exactly, and null equals empty; lists and positions follow ascending QString
/// order. A pool, item or policy without a value under the key asked for answers a null text. Every other text that has
/// nothing to tell is "an empty text": empty, not null.
///
/// **Closed.** After clear() the database is closed for good: what works on a table does nothing, silently, and answers
/// an empty text, list, map or object, 0 or false. getAppCount(), getSaasAppCount() and clearSaasAppList() are
/// excepted: they must not be called then. setRemoteAppEnd() and buildKeyName() need no table and work as before.
///
/// **Logging** goes through Qt's message handler, category "default"; what is not said to log is silent. A handler must
/// not use what its line's doc says is locked.
class VMDATABASE_EXPORT VmDatabase : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(VmDatabase)

public:
    /// An empty, open database.
    explicit VmDatabase(QObject *parent = nullptr);

    /// Releases what clear() does; logs "Yes, free db now!!" at info level, closed before or not.
    ~VmDatabase() override;

    /// Closes the database, logging "clear and free private db now!!" at info level; a second call does neither. Pools
    /// are deleted by the event loop of the thread that made them, never if it runs none; SaaS applications at once;
    /// remote ones that clearRemoteAppList() has not freed before stay allocated.
    void clear();

    /// Logs every pool and its items at info level, as VmNode::printContent() does; nothing if there are none. No lock.
    void printDatabase();

    /// \name Values of pools and items
    /// A pool is addressed by its own uuid, an item by its pool's and its own. Where a \a type is asked for,
    /// VdiVM::ItemNode means an item and everything else the pool \a parentUuid, and \a uuid is not looked at. A pool
    /// is made when it is first looked up, also by a reading call; an empty pool uuid that gets that far is logged,
    /// "parent uuid is empty!!", besides the reports below. All reports are critical; "located" ones are followed by a
    /// second line with signature and source line. The pool table is locked for the lookup, the record for its value,
    /// nothing between.
    /// @{

    /// The value under \a key; an empty text for an unknown item and for an empty \a parentUuid, of which that of an
    /// item is reported: "parent uuid is empty, but the node is vm item node, ...", located.
    QString getNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key);

    /// The value under \a key; a null text if there is none, an empty one for an empty \a uuid.
    QString getPoolNodeValue(const QString &uuid, int key);

    /// Stores \a value. An item is made on first mention, its uuid under VdiVM::UuidKey; if that is the \a key written,
    /// \a value is dropped. Later it is a key like any other, and the item stays filed under the old uuid. Reported,
    /// and nothing stored: VdiVM::UnknownNode ("type is invalid, ..."); an empty uuid of a VdiVM::PoolNode or ItemNode
    /// ("error: ..."); any other empty \a parentUuid ("cannot find vm pool node, ..."); what is filed under \a uuid but
    /// is no item ("node type is error.", located).
    void setNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key,
                      const QString &value);

    /// Stores \a value. An empty \a uuid stores nothing: "cannot find vm pool node, ...".
    void setPoolNodeValue(const QString &uuid, int key, const QString &value);

    /// Stores an empty, not null text. Makes no item: an unknown one is reported, "4 cannot find ...", and so is an
    /// empty \a parentUuid, "5 ..." for an item and "6 ..." with \a uuid for a pool; all located.
    void resetNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key);

    /// @}
    /// \name Policy values of items
    /// Addressed by pool uuid, item uuid, policy type and key. Pools, locks and reports as above; all are located but
    /// one.
    /// @{

    /// The value under \a key; an empty text if a uuid is empty (silent), the item unknown ("7 cannot find ...") or the
    /// \a type one without record ("there is no policy type: ...").
    QString getPolicyValue(const QString &parentUuid, const QString &uuid, const VdiVM::PolicyType &type, int key);

    /// Stores \a value. An item is made on first mention, also under an empty \a uuid, and even if the \a type is one
    /// without record, which is reported. Under an empty \a parentUuid nothing is stored, an item is leaked and
    /// "pVmPool is null." reported, without location.
    void setPolicyValue(const QString &parentUuid, const QString &uuid, const VdiVM::PolicyType &type, int key,
                        const QString &value);

    /// @}
    /// \name The tree
    /// All nodes stand in one list: pool by pool, each pool's items and then the pool itself. Positions count from 0
    /// and change with every insertion and removal. The pool table is locked for the whole call, unless said otherwise.
    /// An empty uuid or address is like any other, unless said otherwise.
    /// @{

    /// The number of nodes: items plus pools.
    int getItemCount();

    /// The number of nodes in the pools whose VdiVM::ServerIpKey is \a serverIp; 0 if there is none.
    int getItemCountByServerIp(const QString &serverIp);

    /// The VdiVM::UuidKey of the node at position \a index; an empty text out of range, also for a negative one. It is
    /// read after the table's lock is released: the node must not be removed meanwhile.
    QString getItemUuid(int index);

    /// The VdiVM::VmType of the node at position \a index; 0 out of range. Read as by getItemUuid().
    int getItemType(int index);

    /// VdiVM::PoolNode if a pool is filed under \a uuid, else VdiVM::ItemNode if an item is, else 0.
    int getItemTypeByUuid(const QString &uuid);

    /// The VdiVM::UuidKey of the first pool with an item \a uuid, or else \a uuid itself if a pool is filed under it.
    /// An empty text if it is unknown or empty; the latter is logged as critical, "uuid is empty, do nothing ! 3".
    QString getParentUuid(const QString &uuid);

    /// The VdiVM::UuidKey of the only item of the pool whose VdiVM::UuidKey is \a parentUuid; an empty text if there is
    /// no such pool or it has no item or several. Either way logs "999 uuid = ..." at info level, with the pool table
    /// locked: a message handler must not use pools. An empty \a parentUuid answers an empty text and logs only, as
    /// critical, "parentUuid is empty, ...".
    QString getUuidByParentUuid(const QString &parentUuid);

    /// The VdiVM::ResourceNameKey of pool \a parentUuid. Makes pools, locks and logs an empty uuid as the values above
    /// do, and answers it with an empty text.
    QString getResourceNameByParentUuid(const QString &parentUuid);

    /// The VdiVM::UuidKey of each item of the pool filed under \a parentUuid. An unknown pool is not made: an empty
    /// list, and critical "1 cannot find vm item node, uuid = ...". No lock.
    QList<QString> getChildrenByParentUuid(const QString &parentUuid);

    /// The uuids under which the pools are filed; despite its own name, no names. No lock.
    QList<QString> getVmPoolNameList();

    /// Removes the first node that matches: in each pool first the pool, by its VdiVM::UuidKey, then the item filed
    /// under \a uuid. A pool leaves the table at once and is deleted, items and all, by the event loop of the thread
    /// that made it; pointers to it stay usable until then. An item is deleted at once, under the write lock: what is
    /// connected to its destroyed() must not use pools. An unknown uuid changes nothing.
    void removeNode(const QString &uuid);

    /// Removes every pool whose VdiVM::ServerIpKey is \a serverIp, as removeNode() does; empty means those without one.
    void removeNodesByServerIp(const QString &serverIp);

    /// Deletes all items of the pool filed under \a parentUuid at once; the pool stays. An unknown pool is logged as
    /// critical, "1 cannot find vm item node, uuid = ...". No lock.
    void removeChildrenByParentUuid(const QString &parentUuid);

    /// removeChildrenByParentUuid() and then removeNode(), whatever came of the first, with no lock between: if an
    /// earlier pool has an item of that uuid, it is that item that goes.
    void removeFamilyByParentUuid(const QString &parentUuid);

    /// @}
    /// \name Decisions
    /// A pool's group is its VdiVM::GroupKey. Its lead pool is the first one by these rules, texts read as unsigned
    /// decimal numbers and 0 if they are none: VdiVM::FailedToConnectKey 0 before any other; then VdiVM::PreferredKey
    /// not 0 before 0; then the higher VdiVM::PriorityKey. Pools equal in all three have no defined order, nor have two
    /// whose failure or preference flags differ without one being 0. A decision is written to VdiVM::HiddenKey, "1"
    /// hidden or "0" shown; two at once may mix. Pools must not be removed meanwhile. Everything logged is at info
    /// level.
    ///
    /// Sorting a group of pools that all failed with different flags takes quadratic time and a stack that grows with the
    /// group: for 10,000 of them 1 MB on 64-bit ARM and 512 KB on x86-64, twice that in a debug build.
    /// @{

    /// Turns the wheel of \a group: shows its lead pool and hides the others. If the lead has not failed to connect,
    /// answers true and its VdiVM::UuidKey in \a uuid; otherwise false, with \a uuid left alone. An empty \a group
    /// means the pools without one; a group without pools answers false. The pool table is locked while the group is
    /// gathered. Logs "xx wheelVmGroup keyUuid: ..." for each pool and "wheelVmGroup select keyUuid: ..." for the
    /// choice.
    bool wheelVmGroup(QString group, QString &uuid);

    /// Decides for every pool. One with an active item is no longer marked as failed. Pools of VdiVM::PoolTypeKey 1, 3
    /// and 7 are shown while they hold no item; others with a group are hidden; the rest is shown if
    /// VdiVM::AllowMultiDynamicKey (signed) is not 0 or while it holds no item. Then dealVmGroupPool(). Logs "poolNode,
    /// SET HIDE ..." and "pool allowMultiDynamicDesktop, DO SHOW ..." with name and priority. No lock while the pools
    /// are listed.
    void dealVmPools();

    /// Decides for every pool that has a group: the lead pool is shown if some pool of the group has both
    /// VdiVM::AllowMultiDynamicKey and VdiVM::PreferredKey not 0, or if none holds an item; everything else is hidden.
    /// The pool table is locked while the groups are gathered. Logs "poolNode, SET HIDE ..." for each pool and "GROUP
    /// allowMultiDynamicDesktop, DO SHOW ..." or "GROUP do not have Item, DO SHOW ..." for the lead.
    void dealVmGroupPool();

    /// @}
    /// \name Remote applications
    /// Records by id. The id is stored under VdiVM::AppIdKey; an empty value is ignored, see RemoteApp::setValue(). The
    /// table is locked for the whole call, unless a doc says "no lock". deleteRemoteApp() and the two control-policy
    /// operations may change the table although they do not lock it: no other thread may use remote applications
    /// meanwhile. The latter list an id that they do not know, without a record: it is counted, listed and removed like
    /// any other, unknown to value reads, and gets a record with its first value.
    /// @{

    /// The number of ids. Must not be called on a closed database.
    int getAppCount();

    /// All ids. No lock.
    QList<QString> getAppNames();

    /// The id at position \a index; an empty text out of range, also for a negative one.
    QString getRemoteAppId(int index);

    /// The value under \a key; an empty text if there is none. An id without a record answers an empty text and is
    /// logged at info level, "Error couldn't find ...", with all ids and the table locked: a message handler must not
    /// use remote applications.
    QString getRemoteAppValue(QString appId, int key);

    /// Stores \a value, making the record first if there is none, also when \a value is empty. VdiVM::AppIdKey
    /// overwrites the id in the record, not the one it is listed under.
    void setRemoteAppValue(QString appId, int key, const QString &value);

    /// Takes the id out. Its record, and with it the policy's reference, goes later, as a pool does. An unknown id
    /// changes nothing. Emits nothing. No lock.
    void deleteRemoteApp(QString appId);

    /// The control policy itself, not a copy: it shows later changes and ends with the record. For an id without a
    /// record, which is listed from then on, the one empty object that all of them share; it is a closed database's
    /// answer, too. No lock.
    const QJsonObject &getRemoteAppControlPolicy(QString appId);

    /// Replaces the control policy. An id without a record is listed from then on, and the policy dropped. No lock.
    void setRemoteAppControlPolicy(QString appId, const QJsonObject &policy);

    /// Takes all ids out, their records as by deleteRemoteApp(). Then emits remoteAppsUpdated(), unless closed.
    void clearRemoteAppList();

    /// Emits remoteAppsUpdated(), closed or not: for the end of a batch of changes. Takes no lock and needs none.
    void setRemoteAppEnd();

    /// @}
    /// \name SaaS applications
    /// Records by id; an empty value is ignored, see RemoteApp::setValue(). Unlike remote ones they do not store their
    /// id, cannot be removed singly, have neither control policy nor signal, log nothing, and are deleted at once, by
    /// whoever drops the last reference. The table is locked for the whole call, unless a doc says "no lock".
    /// @{

    /// The number of ids. Must not be called on a closed database.
    int getSaasAppCount();

    /// The id at position \a index; an empty text out of range, also for a negative one.
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

    /// The VdiVM::AppSummaryKey of each record mapped to its VdiVM::AppSummaryValueKey. Of several with the same key,
    /// the empty one included, the last by id counts; ids without a record are left out. Walks a copy of the table,
    /// without its lock: call it on the thread whose event loop deletes the records, and not while another adds or
    /// removes any.
    QMap<QString, QString> getAppsInfo();

    /// All ids, like getAppNames(), from a copy of the table. No lock.
    QList<QString> getAppsIdList();

    /// "[prefix]name", or \a name alone if \a prefix is empty. Made by two substitutions into "[%1]%2", one after the
    /// other: \a name goes wherever the lowest placeholder then stands, in \a prefix as well, so that "a%1" and "b"
    /// give "[ab]%2".
    QString buildKeyName(QString prefix, QString name);

    /// @}

Q_SIGNALS:
    /// The client has ended a batch of changes to the remote applications, or their list was cleared. Emitted on the
    /// calling thread, with no lock held.
    void remoteAppsUpdated();

private:
    VmDatabasePrivate *d; // owned; null once closed
};
