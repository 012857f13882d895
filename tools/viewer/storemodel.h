// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "store/storecopy.h"

#include <QtCore/QAbstractItemModel>
#include <QtCore/QHash>

#include <memory>
#include <vector>

/// A database at the moment after a call: servers, pools, machines, policies and applications, with what the call changed.
/// Nodes are made when a view opens them, and kept from one moment to the next.
class StoreModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Column { NameColumn, ValueColumn, BeforeColumn, ColumnCount };
    enum Role {
        MarkRole = Qt::UserRole, ///< Mark.
        PoolRole,                ///< The uuid of the pool that the node is or belongs to; null if there is none.
        ChangeRole,              ///< Whether the call changed this very node.
    };
    enum Mark {
        Unchanged,
        ChangedWithin, ///< Something below it has changed.
        Changed,
        Added,
        Removed, ///< Is not stored any more.
    };
    explicit StoreModel(QObject *parent = nullptr);
    ~StoreModel() override;

    /// Shows \a after, which \a changes have made of \a before.
    void show(const StoreCopy &before, const StoreCopy &after, const QVector<Change> &changes);

    /// What a change changed, loading nodes down to it; an invalid index if it cannot be found.
    QModelIndex indexOf(const Change &change);
    QModelIndex indexOfPool(const QString &uuid);

    /// Which value the node is, as a change of it would say; only what is under Change::table to key is set. Nothing if it
    /// is a server or a headline.
    std::optional<Change> subject(const QModelIndex &index) const;

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    bool hasChildren(const QModelIndex &parent = {}) const override;
    bool canFetchMore(const QModelIndex &parent) const override;
    void fetchMore(const QModelIndex &parent) override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    // In the order in which they stand below their parent.
    enum Kind { Value, PolicyValue, ControlPolicy, Policy, Item, Pool, Server, RemoteApps, SaasApps, App, Root };
    struct Node
    {
        Kind kind = Root;
        QString id;     // the uuid, id or address
        int number = 0; // the key or policy type
        QString label;
        QString value;
        std::optional<QString> before;
        Mark mark = Unchanged;
        bool hasChildren = false;

        Node *parent = nullptr;
        int row = 0;
        bool isFetched = false;
        std::vector<std::unique_ptr<Node>> children;
    };
    using Nodes = std::vector<std::unique_ptr<Node>>;

    Node *nodeOf(const QModelIndex &index) const;
    QModelIndex indexOf(const Node &node, int column = 0) const;
    Node *child(Node &parent, Kind kind, const QString &id, int number = 0);

    Nodes childrenOf(const Node &node) const;
    void addServers(Nodes &nodes) const;
    void addPools(Nodes &nodes, const QString &server) const;
    void addItems(Nodes &nodes, const QString &pool) const;
    void addApps(Nodes &nodes, Change::Table table) const;
    void addPolicies(Nodes &nodes, const QString &pool, const QString &item) const;
    void addValues(Nodes &nodes, const StoreCopy::Values &values, Change subject) const;
    const Change *changeOf(const Change &subject) const;
    Mark markOf(const Change &subject) const;
    bool isUntouched(const Node &node) const;
    void sync(Node &node);
    static Change subjectOf(const Node &node);

    std::unique_ptr<Node> m_root;
    StoreCopy m_before;
    StoreCopy m_after;
    StoreCopy m_shown;                         // the moment before this one, as long as it is replaced
    QHash<QString, QVector<Change>> m_changes; // by pool or application
    QHash<QString, QVector<Change>> m_shownChanges;
};
