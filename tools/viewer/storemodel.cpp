// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "storemodel.h"

#include "look.h"

#include "feed/json.h"
#include "operations/keynames.h"

#include <vmdatabase/vdivm.h>

#include <QtGui/QFont>
#include <QtGui/QGuiApplication>
#include <QtGui/QPalette>

#include <algorithm>
#include <tuple>

static bool isSame(const Change &a, const Change &b)
{
    return a.table == b.table && a.kind == b.kind && a.id == b.id && a.item == b.item && a.policy == b.policy &&
           a.key == b.key;
}

static auto &appsOf(const StoreCopy &store, Change::Table table)
{
    return table == Change::RemoteApps ? store.remoteApps : store.saasApps;
}

StoreModel::StoreModel(QObject *parent)
    : QAbstractItemModel(parent)
    , m_root(std::make_unique<Node>())
{
    m_root->isFetched = true;
    sync(*m_root);
}

StoreModel::~StoreModel() = default;

// The change that the call made of exactly this.
const Change *StoreModel::changeOf(const Change &subject) const
{
    const auto changes = m_changes.constFind(subject.id);
    if (changes == m_changes.cend())
        return nullptr;
    const auto it =
        std::find_if(changes->cbegin(), changes->cend(), [&](const Change &change) { return isSame(change, subject); });
    return it == changes->cend() ? nullptr : &*it;
}

// What the call did to a pool, item or application.
StoreModel::Mark StoreModel::markOf(const Change &subject) const
{
    Mark mark = Unchanged;
    const QVector<Change> changes = m_changes.value(subject.id);
    for (const Change &change : changes) {
        if (change.table != subject.table || (subject.item && change.item != subject.item))
            continue;
        if (change.kind == Change::Added && change.item == subject.item)
            return Added;
        mark = ChangedWithin;
    }
    return mark;
}

void StoreModel::addValues(Nodes &nodes, const StoreCopy::Values &values, Change subject) const
{
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        subject.key = it.key();
        auto node = std::make_unique<Node>();
        node->kind = subject.kind == Change::PolicyValue ? PolicyValue : Value;
        node->number = it.key();
        const NamedNumbers names = subject.kind == Change::PolicyValue ? NamedNumbers::None
                                   : subject.table == Change::Pools    ? NamedNumbers::NodeKeys
                                                                       : NamedNumbers::AppKeys;
        node->label = nameOf(it.key(), names);
        node->value = it.value();
        if (const Change *change = changeOf(subject)) {
            node->mark = Changed;
            node->before = change->before;
        }
        nodes.push_back(std::move(node));
    }
}

void StoreModel::addPolicies(Nodes &nodes, const QString &pool, const QString &item) const
{
    const auto &policies = m_after.pools[pool].items[item].policies;
    const QVector<Change> changes = m_changes.value(pool);
    for (auto it = policies.cbegin(); it != policies.cend(); ++it) {
        auto node = std::make_unique<Node>();
        node->kind = Policy;
        node->number = it.key();
        node->label = tr("Policy %1").arg(it.key());
        node->hasChildren = true;
        if (std::any_of(changes.cbegin(), changes.cend(), [&](const Change &change) {
                return change.kind == Change::PolicyValue && change.item == item && change.policy == it.key();
            }))
            node->mark = ChangedWithin;
        nodes.push_back(std::move(node));
    }
}

void StoreModel::addItems(Nodes &nodes, const QString &pool) const
{
    const auto add = [&](const QString &uuid, const StoreCopy::Item &item, Mark mark) {
        auto node = std::make_unique<Node>();
        node->kind = Item;
        node->id = uuid;
        const QString name = item.values.value(VdiVM::NameKey);
        node->label = uuid.isEmpty() ? tr("Machine without uuid") : uuid;
        node->value = name;
        node->mark = mark;
        node->hasChildren = mark != Removed;
        nodes.push_back(std::move(node));
    };
    const auto &items = m_after.pools[pool].items;
    for (auto it = items.cbegin(); it != items.cend(); ++it)
        add(it.key(), *it, markOf({Change::Pools, Change::Value, pool, it.key(), 0, 0, {}, {}}));
    const QVector<Change> changes = m_changes.value(pool);
    for (const Change &change : changes) {
        if (change.kind == Change::Removed && change.item && !items.contains(*change.item))
            add(*change.item, m_before.pools[pool].items[*change.item], Removed);
    }
}

void StoreModel::addPools(Nodes &nodes, const QString &server) const
{
    const auto add = [&](const QString &uuid, const StoreCopy::Pool &pool, Mark mark) {
        if (pool.values.value(VdiVM::ServerIpKey) != server)
            return;
        auto node = std::make_unique<Node>();
        node->kind = Pool;
        node->id = uuid;
        node->label = uuid;
        node->value = pool.values.value(VdiVM::NameKey);
        node->mark = mark;
        node->hasChildren = mark != Removed || m_changes.value(uuid).size() > 1; // items were removed before it
        nodes.push_back(std::move(node));
    };
    for (auto it = m_after.pools.cbegin(); it != m_after.pools.cend(); ++it)
        add(it.key(), *it, markOf({Change::Pools, Change::Value, it.key(), {}, 0, 0, {}, {}}));
    for (auto it = m_changes.cbegin(); it != m_changes.cend(); ++it) {
        if (m_before.pools.contains(it.key()) && !m_after.pools.contains(it.key()))
            add(it.key(), *m_before.pools.constFind(it.key()), Removed);
    }
}

void StoreModel::addServers(Nodes &nodes) const
{
    QMap<QString, QPair<int, bool>> servers; // pools and whether one has changed
    for (auto it = m_after.pools.cbegin(); it != m_after.pools.cend(); ++it) {
        auto &server = servers[it->values.value(VdiVM::ServerIpKey)];
        ++server.first;
        server.second = server.second || m_changes.contains(it.key());
    }
    for (auto it = m_changes.cbegin(); it != m_changes.cend(); ++it) {
        const auto pool = m_before.pools.constFind(it.key());
        if (pool != m_before.pools.cend() && !m_after.pools.contains(it.key()))
            servers[pool->values.value(VdiVM::ServerIpKey)].second = true;
    }
    for (auto it = servers.cbegin(); it != servers.cend(); ++it) {
        auto node = std::make_unique<Node>();
        node->kind = Server;
        node->id = it.key();
        node->label = it.key().isEmpty() ? tr("No server") : tr("Server %1").arg(it.key());
        node->value = QString::number(it->first);
        node->mark = it->second ? ChangedWithin : Unchanged;
        node->hasChildren = true;
        nodes.push_back(std::move(node));
    }
    for (const Change::Table table : {Change::RemoteApps, Change::SaasApps}) {
        auto node = std::make_unique<Node>();
        const bool isRemote = table == Change::RemoteApps;
        node->kind = isRemote ? RemoteApps : SaasApps;
        node->label = isRemote ? tr("Remote applications") : tr("SaaS applications");
        const int count = appsOf(m_after, table).size();
        for (const QVector<Change> &changes : m_changes) {
            if (std::any_of(changes.cbegin(), changes.cend(),
                            [=](const Change &change) { return change.table == table; }))
                node->mark = ChangedWithin;
        }
        node->value = count > 0 ? QString::number(count) : tr("none");
        node->hasChildren = count > 0 || node->mark != Unchanged;
        nodes.push_back(std::move(node));
    }
}

void StoreModel::addApps(Nodes &nodes, Change::Table table) const
{
    const auto &apps = appsOf(m_after, table);
    const auto add = [&](const QString &id, const StoreCopy::App &app, Mark mark) {
        auto node = std::make_unique<Node>();
        node->kind = App;
        node->id = id;
        node->label = id;
        node->value = app.hasRecord ? app.values.value(VdiVM::AppSummaryKey) : tr("no record");
        node->mark = mark;
        node->hasChildren = mark != Removed && (!app.values.isEmpty() || !app.controlPolicy.isEmpty());
        nodes.push_back(std::move(node));
    };
    for (auto it = apps.cbegin(); it != apps.cend(); ++it)
        add(it.key(), *it, markOf({table, Change::Value, it.key(), {}, 0, 0, {}, {}}));
    const auto &before = appsOf(m_before, table);
    for (auto it = m_changes.cbegin(); it != m_changes.cend(); ++it) {
        if (before.contains(it.key()) && !apps.contains(it.key()))
            add(it.key(), *before.constFind(it.key()), Removed);
    }
}

StoreModel::Nodes StoreModel::childrenOf(const Node &node) const
{
    Nodes nodes;
    const Change subject = subjectOf(node);
    switch (node.kind) {
    case Root:
        addServers(nodes);
        break;
    case Server:
        addPools(nodes, node.id);
        break;
    case Pool:
        addValues(nodes, m_after.pools[node.id].values, subject);
        addItems(nodes, node.id);
        break;
    case Item:
        addValues(nodes, m_after.pools[subject.id].items[node.id].values, subject);
        addPolicies(nodes, subject.id, node.id);
        break;
    case Policy:
        addValues(nodes, m_after.pools[subject.id].items[*subject.item].policies[node.number],
                  {subject.table, Change::PolicyValue, subject.id, subject.item, node.number, 0, {}, {}});
        break;
    case RemoteApps:
    case SaasApps:
        addApps(nodes, subject.table);
        break;
    case App: {
        const StoreCopy::App app = appsOf(m_after, subject.table)[node.id];
        addValues(nodes, app.values, subject);
        if (app.controlPolicy.isEmpty())
            break;
        auto policy = std::make_unique<Node>();
        policy->kind = ControlPolicy;
        policy->label = tr("Control policy");
        policy->value = compactJson(app.controlPolicy);
        if (const Change *change = changeOf({subject.table, Change::ControlPolicy, node.id, {}, 0, 0, {}, {}})) {
            policy->mark = Changed;
            policy->before = compactJson(change->controlBefore);
        }
        nodes.push_back(std::move(policy));
        break;
    }
    case Value:
    case PolicyValue:
    case ControlPolicy:
        break;
    }
    return nodes;
}

Change StoreModel::subjectOf(const Node &node)
{
    Change subject{Change::Pools, Change::Value, {}, {}, 0, 0, {}, {}};
    for (const Node *at = &node; at->parent; at = at->parent) {
        switch (at->kind) {
        case PolicyValue:
            subject.kind = Change::PolicyValue;
            subject.key = at->number;
            break;
        case Value:
            subject.key = at->number;
            break;
        case ControlPolicy:
            subject.kind = Change::ControlPolicy;
            break;
        case Policy:
            subject.policy = at->number;
            break;
        case Item:
            subject.item = at->id;
            break;
        case Pool:
        case App:
            subject.id = at->id;
            break;
        case RemoteApps:
            subject.table = Change::RemoteApps;
            break;
        case SaasApps:
            subject.table = Change::SaasApps;
            break;
        case Server:
        case Root:
            break;
        }
    }
    return subject;
}

std::optional<Change> StoreModel::subject(const QModelIndex &index) const
{
    const Node *node = nodeOf(index);
    if (!index.isValid() || node->kind == Server || node->kind == RemoteApps || node->kind == SaasApps)
        return {};
    Change subject = subjectOf(*node);
    if (node->kind == Pool || node->kind == Item || node->kind == App || node->kind == Policy)
        subject.kind = Change::Added; // all of it, not one value
    return subject;
}

// Whether nothing of an open pool can have changed since it was last looked at: it may hold many machines.
bool StoreModel::isUntouched(const Node &node) const
{
    if (node.kind != Pool || m_changes.contains(node.id) || m_shownChanges.contains(node.id))
        return false;
    const auto before = m_shown.pools.constFind(node.id);
    const auto after = m_after.pools.constFind(node.id);
    return before != m_shown.pools.cend() && after != m_after.pools.cend() &&
           before->items.isSharedWith(after->items) && before->values.isSharedWith(after->values);
}

// Makes of the children of a node what they are now, with as little as possible for a view to do.
// NOLINTNEXTLINE(misc-no-recursion): a tree of at most six levels
void StoreModel::sync(Node &node)
{
    if (!node.isFetched || isUntouched(node))
        return;
    const auto key = [](const std::unique_ptr<Node> &child) {
        return std::make_tuple(child->kind, child->id, child->number);
    };
    Nodes nodes = childrenOf(node);
    std::stable_sort(nodes.begin(), nodes.end(), [&](const auto &a, const auto &b) { return key(a) < key(b); });
    const QModelIndex parent = indexOf(node);
    Nodes &children = node.children;
    size_t at = 0;
    const auto renumber = [&](size_t from) {
        for (size_t i = from; i < children.size(); ++i)
            children[i]->row = int(i);
    };
    for (size_t next = 0; next < nodes.size() || at < children.size();) {
        const bool isGone = next == nodes.size() || (at < children.size() && key(children[at]) < key(nodes[next]));
        if (isGone) {
            size_t end = at + 1;
            while (end < children.size() && (next == nodes.size() || key(children[end]) < key(nodes[next])))
                ++end;
            beginRemoveRows(parent, int(at), int(end) - 1);
            children.erase(children.begin() + qptrdiff(at), children.begin() + qptrdiff(end));
            renumber(at);
            endRemoveRows();
        } else if (at == children.size() || key(nodes[next]) < key(children[at])) {
            size_t end = next + 1;
            while (end < nodes.size() && (at == children.size() || key(nodes[end]) < key(children[at])))
                ++end;
            beginInsertRows(parent, int(at), int(at + end - next) - 1);
            for (size_t i = next; i < end; ++i)
                nodes[i]->parent = &node;
            children.insert(children.begin() + qptrdiff(at), std::make_move_iterator(nodes.begin() + qptrdiff(next)),
                            std::make_move_iterator(nodes.begin() + qptrdiff(end)));
            renumber(at);
            endInsertRows();
            at += end - next;
            next = end;
        } else {
            Node &child = *children[at];
            Node &now = *nodes[next];
            if (!now.hasChildren && !child.children.empty()) {
                beginRemoveRows(indexOf(child), 0, int(child.children.size()) - 1);
                child.children.clear();
                endRemoveRows();
            }
            child.isFetched = child.isFetched && now.hasChildren;
            if (child.label != now.label || child.value != now.value || child.value.isNull() != now.value.isNull() ||
                child.before != now.before || child.mark != now.mark || child.hasChildren != now.hasChildren) {
                child.label = now.label;
                child.value = now.value;
                child.before = now.before;
                child.mark = now.mark;
                child.hasChildren = now.hasChildren;
                Q_EMIT dataChanged(indexOf(child), indexOf(child, ColumnCount - 1));
            }
            sync(child);
            ++at;
            ++next;
        }
    }
}

void StoreModel::show(const StoreCopy &before, const StoreCopy &after, const QVector<Change> &changes)
{
    m_shown = std::exchange(m_after, after);
    m_before = before;
    m_shownChanges = std::exchange(m_changes, {});
    for (const Change &change : changes)
        m_changes[change.id] << change;
    sync(*m_root);
    m_shown = {};
    m_shownChanges.clear();
}

StoreModel::Node *StoreModel::child(Node &parent, Kind kind, const QString &id, int number)
{
    if (!parent.isFetched && parent.hasChildren)
        fetchMore(indexOf(parent));
    const auto it = std::find_if(parent.children.cbegin(), parent.children.cend(), [&](const auto &node) {
        return node->kind == kind && node->id == id && node->number == number;
    });
    return it == parent.children.cend() ? nullptr : it->get();
}

QModelIndex StoreModel::indexOf(const Change &change)
{
    Node *node = m_root.get();
    const auto go = [&](Kind kind, const QString &id, int number = 0) {
        if (Node *next = child(*node, kind, id, number))
            node = next;
    };
    if (change.table == Change::Pools) {
        const auto &pools = m_after.pools.contains(change.id) ? m_after.pools : m_before.pools;
        go(Server, pools.value(change.id).values.value(VdiVM::ServerIpKey));
        go(Pool, change.id);
        if (change.item)
            go(Item, *change.item);
    } else {
        go(change.table == Change::RemoteApps ? RemoteApps : SaasApps, {});
        go(App, change.id);
    }
    if (change.kind == Change::PolicyValue)
        go(Policy, {}, change.policy);
    if (change.kind == Change::Value || change.kind == Change::PolicyValue)
        go(change.kind == Change::Value ? Value : PolicyValue, {}, change.key);
    if (change.kind == Change::ControlPolicy)
        go(ControlPolicy, {});
    return indexOf(*node);
}

QModelIndex StoreModel::indexOfPool(const QString &uuid)
{
    return m_after.pools.contains(uuid) ? indexOf({Change::Pools, Change::Added, uuid, {}, 0, 0, {}, {}})
                                        : QModelIndex();
}

StoreModel::Node *StoreModel::nodeOf(const QModelIndex &index) const
{
    return index.isValid() ? static_cast<Node *>(index.internalPointer()) : m_root.get();
}

QModelIndex StoreModel::indexOf(const Node &node, int column) const
{
    // The node among its siblings, as what it belongs to may change it.
    return node.parent ? createIndex(node.row, column, node.parent->children[size_t(node.row)].get()) : QModelIndex();
}

QModelIndex StoreModel::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    return createIndex(row, column, nodeOf(parent)->children[size_t(row)].get());
}

QModelIndex StoreModel::parent(const QModelIndex &index) const
{
    return index.isValid() ? indexOf(*nodeOf(index)->parent) : QModelIndex();
}

int StoreModel::rowCount(const QModelIndex &parent) const
{
    return parent.column() > 0 ? 0 : int(nodeOf(parent)->children.size());
}

int StoreModel::columnCount(const QModelIndex &) const
{
    return ColumnCount;
}

bool StoreModel::hasChildren(const QModelIndex &parent) const
{
    const Node *node = nodeOf(parent);
    return parent.column() <= 0 && (node->isFetched ? !node->children.empty() : node->hasChildren);
}

bool StoreModel::canFetchMore(const QModelIndex &parent) const
{
    const Node *node = nodeOf(parent);
    return parent.column() <= 0 && !node->isFetched && node->hasChildren;
}

void StoreModel::fetchMore(const QModelIndex &parent)
{
    if (!canFetchMore(parent))
        return;
    Node *node = nodeOf(parent);
    node->isFetched = true;
    sync(*node);
}

static QString valueText(const QString &value)
{
    return value.isEmpty() ? compactJson(toJson(value)) : value;
}

QVariant StoreModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const Node &node = *nodeOf(index);
    const bool isValue = node.kind <= ControlPolicy;
    const bool isHeadline = node.kind == Server || node.kind == RemoteApps || node.kind == SaasApps;
    switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
        if (index.column() == NameColumn)
            return node.label;
        if (index.column() == ValueColumn)
            return isValue ? valueText(node.value) : node.value;
        if (node.mark == Added)
            return tr("added");
        if (node.mark == Removed)
            return tr("removed");
        return node.mark == Changed ? QVariant(node.before ? valueText(*node.before) : tr("none")) : QVariant();
    case Qt::AccessibleTextRole:
        if (index.column() == NameColumn && node.mark == Changed)
            return tr("%1, changed").arg(node.label);
        if (index.column() == NameColumn && node.mark == ChangedWithin)
            return tr("%1, changed within").arg(node.label);
        return {};
    case Qt::FontRole: {
        QFont font;
        font.setStrikeOut(node.mark == Removed && index.column() < BeforeColumn);
        font.setBold(isHeadline ? index.column() == NameColumn
                                : node.mark == Changed || node.mark == Added || node.mark == ChangedWithin);
        return font;
    }
    case Qt::ForegroundRole:
        if (index.column() == BeforeColumn || node.mark == Removed || (isHeadline && index.column() == ValueColumn) ||
            (isValue && index.column() == NameColumn && node.mark != Changed) || (isValue && node.value.isEmpty()))
            return Look::muted(QGuiApplication::palette());
        return {};
    case Qt::BackgroundRole:
        if (node.mark == Changed)
            return Look::tint(QGuiApplication::palette(), Look::Changed);
        if (node.mark == Added)
            return Look::tint(QGuiApplication::palette(), Look::Added);
        return node.mark == Removed ? QVariant(Look::tint(QGuiApplication::palette(), Look::Removed)) : QVariant();
    case MarkRole:
        return node.mark;
    case ChangeRole:
        return node.mark >= Changed;
    case PoolRole: {
        const Change subject = subjectOf(node);
        return subject.table == Change::Pools && !subject.id.isNull() ? subject.id : QVariant();
    }
    default:
        return {};
    }
}

QVariant StoreModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return section == NameColumn ? tr("Stored") : section == ValueColumn ? tr("Value") : tr("Before");
}
