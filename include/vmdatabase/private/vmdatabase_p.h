// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <vmdatabase/private/vmindexes_p.h>
#include <vmdatabase/vdivm.h>
#include <vmdatabase/vmdatabase_export.h>

#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QReadWriteLock>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>

class RemoteApp;
class VmNode;
class VmPoolNode;

/// The store behind a VmDatabase: three tables, each with its lock. Exported and installed, without any promise of
/// source stability. What is not explained here is explained at the operation of the same name of VmDatabase.
///
/// Locks: a table's lock is taken before a record's, never the reverse; no operation holds two table locks; none
/// outlives a call, and a read lock is never upgraded in place.
class VMDATABASE_EXPORT VmDatabasePrivate
{
    Q_DISABLE_COPY(VmDatabasePrivate)

public:
    /// A store with three empty tables.
    VmDatabasePrivate();

    /// Empties the pools as clearVmPoolList() does and deletes the SaaS applications. Compatibility: remote
    /// applications that are still listed are not deleted.
    virtual ~VmDatabasePrivate();

    /// \name The frame
    /// @{

    /// Takes all pools out under the write lock. Each is deleted later, see VmDatabase, and its items with it. Pointers
    /// to it stay usable until then.
    void clearVmPoolList();

    /// Every pool. No lock: no other thread may add or remove pools during the call.
    QList<VmPoolNode *> getPoolNodeList();

    void printDatabase();

    /// The pool \a parentUuid, created if there is none. Null, with the report "parent uuid is empty!!", for an empty
    /// uuid. Null, silently, if another thread removed the pool that this call has just created. Locked for the lookup
    /// only. Compatibility: if two threads create the same pool concurrently, the earlier object is lost, neither
    /// deleted nor reachable; it may have been returned to a caller.
    VmPoolNode *getVmPool(const QString &parentUuid);

    /// @}
    /// \name Values of pools, items and policies
    /// @{

    QString getNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key);
    QString getPoolNodeValue(const QString &uuid, int key);

    /// Refuses less than the public operation: treats VdiVM::UnknownNode as a pool and an empty item uuid as a uuid.
    void setNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key,
                      const QString &value);
    void setPoolNodeValue(const QString &uuid, int key, const QString &value);
    void resetNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key);

    QString getPolicyValue(const QString &parentUuid, const QString &uuid, const VdiVM::PolicyType &type, int key);
    void setPolicyValue(const QString &parentUuid, const QString &uuid, const VdiVM::PolicyType &type, int key,
                        const QString &value);

    /// @}
    /// \name The tree
    /// @{

    int getItemCount();
    int getItemCountByServerIp(const QString &serverIp);

    /// All nodes: pool by pool, each pool's items and then the pool itself. Locked for the whole walk. Uses items of
    /// every pool.
    QList<VmNode *> getItemList();
    QString getItemUuid(int index);
    int getItemType(int index);
    int getItemTypeByUuid(const QString &uuid);
    QString getParentUuid(const QString &uuid);
    QString getUuidByParentUuid(const QString &parentUuid);
    QString getResourceNameByParentUuid(const QString &parentUuid);
    QList<QString> getChildrenByParentUuid(const QString &parentUuid);
    QList<QString> getVmPoolNameList();
    void removeNode(const QString &uuid);
    void removeNodesByServerIp(const QString &serverIp);
    void removeChildrenByParentUuid(const QString &parentUuid);

    /// @}
    /// \name Groups of pools
    /// Snapshots in ascending uuid order, gathered with the table locked. The store owns the pools. A removed one stays
    /// usable until it is deleted.
    /// @{

    /// The pools that have a group, by group name. The caller deletes the lists.
    QMap<QString, QList<VmPoolNode *> *> getGroupedVmPool();

    /// The pools of \a group; those without a group if it is empty. Never null.
    QSharedPointer<QList<VmPoolNode *>> getVmPoolListByGroup(QString group);

    /// @}
    /// \name Applications
    /// @{

    int getAppCount();
    QList<QString> getAppNames();
    QString getRemoteAppId(int index);
    QString getRemoteAppValue(QString appId, int key);

    /// As getRemoteAppValue(), but returns a null text for an id without a record and logs nothing.
    QString getRemoteAppValueByName(const QString &appId, int key);
    void setRemoteAppValue(QString appId, int key, const QString &value);
    void deleteRemoteApp(QString appId);
    const QJsonObject &getRemoteAppControlPolicy(QString appId);
    void setRemoteAppControlPolicy(QString appId, const QJsonObject &policy);

    /// Emits nothing: the signal is the facade's.
    void clearRemoteAppList();

    int getSaasAppCount();
    QString getSaasAppId(int index);
    QString getSaasAppValue(QString appId, int key);
    void setSaasAppValue(QString appId, int key, const QString &value);
    void clearSaasAppList();

    /// @}

private:
    friend class VmDatabase;        // for the decisions that the facade makes over the tables
    friend class VmStoreInspection; // for tools, which only look

    VmNode *nodeAt(int index);
    RemoteApp *listedRemoteApp(const QString &appId);

    QReadWriteLock poolLock; // guards pools and poolIndex, and only these
    QMap<QString, VmPoolNode *> pools;
    QReadWriteLock remoteAppLock; // guards remoteApps and remoteAppIndex, and only these
    QMap<QString, RemoteApp *> remoteApps;
    QReadWriteLock saasAppLock; // guards saasApps, and only saasApps
    QMap<QString, QSharedPointer<RemoteApp>> saasApps;

    // Indexes of the tables. Without them the read of a pool or an application takes twice as long.
    VmUuidIndex<VmPoolNode> poolIndex;
    VmUuidIndex<RemoteApp> remoteAppIndex;
};
