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

/// What a virtual-desktop client knows of its servers: pools of virtual machines, the machines (items) in them, their
/// policies, remote and SaaS applications. Values are texts by integer key. All of it is kept in memory only.
///
/// **Threads.** Values of pools and machines that exist may be read and written from any thread. Listing, deciding,
/// adding and removing must not run concurrently with changes: while one thread adds or removes a pool, a machine or an
/// application, no other thread may make a call. Reading a pool that does not exist adds it.
///
/// docs/threads.md has three recipes and says for each operation what may run concurrently with it. Any result can be
/// stale at once. "Locked" and "no lock" refer to a table; each value is read and written under the lock of its record.
/// - **Results**: uuids and ids are compared exactly; null equals empty. Lists and positions are in ascending QString
///   order. A value that a pool, item or policy does not have is returned as a null text, and so is one that was stored
///   as null; any other empty text is not null.
/// - **Closed** by clear(), operations do nothing, log nothing and return an empty text, list, map or object, 0 or
///   false. Compatibility: getAppCount(), getSaasAppCount() and clearSaasAppList() must not be called then;
///   setRemoteAppEnd() and buildKeyName() work.
/// - **Items** of a pool have no lock: while a call uses any of them, no other thread may add or remove items there.
///   Reading or writing a value or a policy of an item uses items of its pool.
/// - **Log lines** go through Qt's message handler, on the calling thread, in category "default". *Reported* means at
///   critical level, *logged* at info level. A *located* report is followed by one with its signature and source line.
/// - **Deleted later** means by the event loop of the thread that created the record, or when that thread ends; never
///   if that thread had already ended, or if it is the main thread and runs no event loop.
class VMDATABASE_EXPORT VmDatabase : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(VmDatabase)

public:
    /// An empty, open database.
    explicit VmDatabase(QObject *parent = nullptr);

    /// Releases what clear() releases, then logs "Yes, free db now!!", even after clear().
    ~VmDatabase() override;

    /// Closes the database and logs "clear and free private db now!!"; a second call does nothing. Pools are deleted
    /// later, SaaS applications at once. Remote applications are not deleted: call clearRemoteAppList() first. No
    /// other thread may make a call during this one or during destruction.
    void clear();

    /// Logs every pool and its items as VmNode::printContent() does. No lock.
    void printDatabase();

    /// \name Values of pools and items, policies of items
    /// A pool is identified by its uuid, an item by the uuid of its pool and its own. Unless \a type is
    /// VdiVM::ItemNode, \a parentUuid identifies a pool and \a uuid is ignored. The table is locked for the lookup
    /// only. An unknown pool is created, even by a call that reads: a removed one comes back, without a name. Looking
    /// up an empty pool uuid is reported first: "parent uuid is empty!!". *Race*: another thread has removed the pool
    /// that the call had just created. Nothing is stored then, an empty text is returned, and the report is as stated.
    /// @{

    /// Returns the value; an empty text for an unknown item and for an empty \a parentUuid. Reported:
    /// - an item's \a parentUuid is empty: "parent uuid is empty, but the node is vm item node, ...", located;
    /// - race: "2 cannot find parent vm pool node, ...", located, for an item; "3 cannot find ..." for a pool.
    QString getNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key);

    /// Returns the value; an empty text for an empty \a uuid. Race: "cannot find vm pool node, uuid = ...".
    QString getPoolNodeValue(const QString &uuid, int key);

    /// Stores \a value. An unknown item is created with its uuid under VdiVM::UuidKey; a \a value for that key is then
    /// ignored. Refused and reported:
    /// - VdiVM::UnknownNode: "type is invalid, do nothing. 4";
    /// - VdiVM::PoolNode and an empty \a parentUuid, VdiVM::ItemNode and an empty \a uuid: "error: ...";
    /// - any other empty \a parentUuid, and race: "cannot find vm pool node, parent uuid = ...";
    /// - the entry \a uuid of the pool is not an item: "node type is error.", located.
    void setNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key,
                      const QString &value);

    /// Stores \a value. Refused and reported: an empty \a uuid, and race: "cannot find vm pool node, ...".
    void setPoolNodeValue(const QString &uuid, int key, const QString &value);

    /// Stores an empty, not null text. Creates no item. Refused and reported, located:
    /// - an unknown item: "4 cannot find vm item node, ...";
    /// - an empty \a parentUuid, and race: "5 cannot find parent ..." for an item, "6 cannot find ..." for a pool.
    void resetNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key);

    /// Returns the value; an empty text if a uuid is empty (silently). Reported, located, and an empty text returned:
    /// - an unknown item: "7 cannot find vm item node, ...";
    /// - a \a type that has no record: "there is no policy type: ...";
    /// - race: "8 cannot find parent vm pool node, ...".
    QString getPolicyValue(const QString &parentUuid, const QString &uuid, const VdiVM::PolicyType &type, int key);

    /// Stores \a value. An unknown item is created, even for an empty \a uuid. Refused and reported:
    /// - a \a type that has no record: "there is no policy type: ...", located; the item is created nevertheless;
    /// - an empty \a parentUuid, and race: "pVmPool is null."; compatibility: an item is leaked;
    /// - the entry \a uuid of the pool is not an item: "node type is error.", located.
    void setPolicyValue(const QString &parentUuid, const QString &uuid, const VdiVM::PolicyType &type, int key,
                        const QString &value);

    /// @}
    /// \name The tree
    /// All nodes are in one list: pool by pool, the items of each and then the pool itself. Positions count from 0 and
    /// change with every insertion and removal. Unless stated otherwise, the table is locked for the whole call, and
    /// an empty uuid or address is treated like any other.
    /// @{

    /// Returns the number of nodes: items plus pools. Uses items of every pool.
    int getItemCount();

    /// Returns the number of nodes in the pools whose VdiVM::ServerIpKey is \a serverIp. Uses the items of these.
    int getItemCountByServerIp(const QString &serverIp);

    /// Returns the VdiVM::UuidKey of the node at \a index; an empty text if it is out of range. Uses items of every
    /// pool; the lock is released before the node is read.
    QString getItemUuid(int index);

    /// Returns the VdiVM::VmType of the node at \a index; 0 if it is out of range. Uses what getItemUuid() uses.
    int getItemType(int index);

    /// Returns VdiVM::PoolNode for a pool, VdiVM::ItemNode for an item, else 0. Creates nothing. Uses items of every
    /// pool.
    int getItemTypeByUuid(const QString &uuid);

    /// Returns the VdiVM::UuidKey of the first pool that has the item \a uuid, else \a uuid itself if it is a pool,
    /// else an empty text. Uses items of every pool. An empty \a uuid is reported: "uuid is empty, do nothing ! 3".
    QString getParentUuid(const QString &uuid);

    /// Returns the VdiVM::UuidKey of the only item of the pool whose VdiVM::UuidKey is \a parentUuid; an empty text if
    /// there is no such pool or not exactly one item. Uses the items of that pool. Logs "999 uuid = ..." with the table
    /// locked: a message handler must not use pools. An empty \a parentUuid is only reported: "parentUuid is
    /// empty, ...".
    QString getUuidByParentUuid(const QString &parentUuid);

    /// Returns the VdiVM::ResourceNameKey of the pool. Creates and locks as getPoolNodeValue() does. An empty text for
    /// an empty uuid, reported: "parent uuid is empty!!"; also, silently, in a race.
    QString getResourceNameByParentUuid(const QString &parentUuid);

    /// Returns the VdiVM::UuidKey of each item of the pool. Creates no pool: for an unknown one the list is empty,
    /// which is reported: "1 cannot find vm item node, ...". No lock. Uses the items of that pool.
    QList<QString> getChildrenByParentUuid(const QString &parentUuid);

    /// Returns the uuids of all pools. Compatibility: not their names. No lock.
    QList<QString> getVmPoolNameList();

    /// Removes the first match, if any, pool by pool: the pool if its VdiVM::UuidKey is \a uuid, else its item \a uuid.
    /// A pool is deleted later, items and all; an item at once, with the table locked: what is connected to its
    /// destroyed() must not use pools. Uses items of every pool up to the match.
    void removeNode(const QString &uuid);

    /// Removes each pool whose VdiVM::ServerIpKey is \a serverIp, as removeNode() does; if that is empty, those
    /// without.
    void removeNodesByServerIp(const QString &serverIp);

    /// Deletes all items of the pool at once; the pool stays. An unknown pool is reported: "1 cannot find vm item node,
    /// ...". No lock. Uses the items of that pool.
    void removeChildrenByParentUuid(const QString &parentUuid);

    /// removeChildrenByParentUuid(), then removeNode(), even of an unknown pool. Only the latter locks the table.
    void removeFamilyByParentUuid(const QString &parentUuid);

    /// @}
    /// \name Decisions
    /// Nothing is decided until one of these is called, and no signal says that a pool has changed. A decision is
    /// stored under VdiVM::HiddenKey: "1" hidden, "0" shown. Read it after the call has returned: all of a group is
    /// hidden before its lead is shown. Two concurrent decisions may mix. Pools must not be removed during the call. A
    /// client clears a failure by storing "0" under VdiVM::FailedToConnectKey. docs/decisions.md has examples.
    ///
    /// The *lead* of a group (VdiVM::GroupKey) is its first pool. Values are read as unsigned decimal numbers; any
    /// other text is 0. Pools whose VdiVM::FailedToConnectKey is 0 go first; then those whose VdiVM::PreferredKey is
    /// not 0; then the higher VdiVM::PriorityKey; the order of equal ones is undefined. As soon as a group holds two
    /// different non-zero failure flags, or two different non-zero preference flags, priorities decide nothing for
    /// certain; pools with failure flag 0 still go before all others.
    /// @{

    /// Shows the lead of \a group and hides its other pools. Returns true, and the VdiVM::UuidKey of the lead in the
    /// out-parameter \a uuid, if the failure flag of any pool read as 0 while the marks were written; else false, with
    /// \a uuid unchanged. An empty \a group holds the pools without one: all but one of them are hidden. The table is
    /// locked while the group is gathered. Logs "xx wheelVmGroup ..." for each pool and, if true, "wheelVmGroup select
    /// ...".
    bool wheelVmGroup(QString group, QString &uuid);

    /// Decides pool by pool, then calls dealVmGroupPool(). No lock while pools are listed. Uses items of every pool.
    /// Clears a pool's failure flag ("0") if it has an active item; then
    /// - VdiVM::PoolTypeKey 1, 3 or 7: shown while it holds no item;
    /// - else with a group: hidden, and logs "poolNode, SET HIDE ...";
    /// - else VdiVM::AllowMultiDynamicKey (signed) not 0: shown, and logs "pool allowMultiDynamicDesktop, DO SHOW ...";
    /// - else: shown while it holds no item.
    void dealVmPools();

    /// Decides group by group. The table is locked while groups are gathered. Uses items of every pool that has a
    /// group. Hides each pool of the group, logs "poolNode, SET HIDE ..." for it, and then shows the lead
    /// - if one of its pools has VdiVM::AllowMultiDynamicKey (signed) and VdiVM::PreferredKey not 0: logs "GROUP
    ///   allowMultiDynamicDesktop, DO SHOW ...";
    /// - else if none of its pools holds an item: logs "GROUP do not have Item, DO SHOW ...".
    void dealVmGroupPool();

    /// @}
    /// \name Remote applications
    /// Records by id, which is stored under VdiVM::AppIdKey; an empty value is ignored. Unless stated otherwise, the
    /// table is locked for the whole call. deleteRemoteApp() and the two control-policy operations change it without a
    /// lock: no other thread may use remote applications during the call. The latter list an unknown id without a
    /// record: it is counted, listed and removed like any other, unknown to value reads, and gets a record with its
    /// first value.
    /// @{

    /// Returns the number of ids. Not to be called on a closed database.
    int getAppCount();

    /// Returns all ids. No lock.
    QList<QString> getAppNames();

    /// Returns the id at \a index; an empty text if it is out of range.
    QString getRemoteAppId(int index);

    /// Returns the value; an empty text if there is none. For an id without a record logs "Error couldn't find ...",
    /// with all ids, while the table is locked: a message handler must not use remote applications.
    QString getRemoteAppValue(QString appId, int key);

    /// Stores \a value. Creates the record of an unknown id, even for an empty \a value.
    void setRemoteAppValue(QString appId, int key, const QString &value);

    /// Removes the id if it is listed; its record, and with it the control policy, is deleted later. Emits nothing. No
    /// lock.
    void deleteRemoteApp(QString appId);

    /// Returns a reference to the control policy itself, which shows later changes and is valid as long as the record.
    /// For an id without a record returns an empty object that all such ids share. No lock.
    const QJsonObject &getRemoteAppControlPolicy(QString appId);

    /// Replaces the control policy; drops it for an id without a record. No lock.
    void setRemoteAppControlPolicy(QString appId, const QJsonObject &policy);

    /// Removes all ids as deleteRemoteApp() does, but with the table locked; then emits remoteAppsUpdated().
    void clearRemoteAppList();

    /// Emits remoteAppsUpdated(), for the end of a batch of changes. Needs no lock.
    void setRemoteAppEnd();

    /// @}
    /// \name SaaS applications
    /// Records by id; an empty value is ignored. Unlike remote applications they do not store their id, have no control
    /// policy and no signal, and log nothing. Unless stated otherwise, the table is locked for the whole call.
    /// @{

    /// Returns the number of ids. Not to be called on a closed database.
    int getSaasAppCount();

    /// Returns the id at \a index; an empty text if it is out of range.
    QString getSaasAppId(int index);

    /// Returns the value; an empty text if there is none or the id is unknown.
    QString getSaasAppValue(QString appId, int key);

    /// Stores \a value. Creates the record of an unknown id, even for an empty \a value.
    void setSaasAppValue(QString appId, int key, const QString &value);

    /// Deletes all SaaS applications at once. No lock: no other thread may use them during the call. Not to be called
    /// on a closed database.
    void clearSaasAppList();

    /// @}
    /// \name Summary of the remote applications
    /// @{

    /// Maps the VdiVM::AppSummaryKey of each record to its VdiVM::AppSummaryValueKey. Of equal keys, empty ones
    /// included, the last by id counts. No lock: call it on the thread that creates the records, and not while another
    /// one adds or removes any.
    QMap<QString, QString> getAppsInfo();

    /// Returns all ids, as getAppNames() does. No lock.
    QList<QString> getAppsIdList();

    /// Returns "[prefix]name"; \a name alone if \a prefix is empty. Compatibility: \a name replaces the lowest
    /// placeholder, even one in \a prefix: "a%1" and "b" give "[ab]%2".
    QString buildKeyName(QString prefix, QString name);

    /// @}

Q_SIGNALS:
    /// A batch of changes to the remote applications has ended, or they were cleared. Emitted with no lock held.
    void remoteAppsUpdated();

private:
    friend class VmStoreInspection;

    VmDatabasePrivate *d; // owned; null once closed
};
