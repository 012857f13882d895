// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "desktopsmodel.h"

#include "text/rankingtext.h"

#include <vmdatabase/vdivm.h>

#include <QtCore/QSet>

#include <algorithm>
#include <tuple>

bool Desktop::Machine::operator==(const Machine &other) const
{
    return std::tie(name, status, isActive) == std::tie(other.name, other.status, other.isActive);
}

bool Desktop::Place::operator==(const Place &other) const
{
    return std::tie(uuid, name, detail, state, isFailed) ==
           std::tie(other.uuid, other.name, other.detail, other.state, other.isFailed);
}

bool Desktop::operator==(const Desktop &other) const
{
    return std::tie(pool, group, name, state, isFailed, isChanged, machines, machineCount, ranking, placeCount) ==
           std::tie(other.pool, other.group, other.name, other.state, other.isFailed, other.isChanged, other.machines,
                    other.machineCount, other.ranking, other.placeCount);
}

static Desktop::State stateOf(const StoreCopy::Values &values)
{
    return Rules::visibilityOf(values.value(VdiVM::HiddenKey));
}

static QString nameOr(const StoreCopy::Values &values, const QString &uuid)
{
    const QString name = values.value(VdiVM::NameKey);
    return name.isEmpty() ? uuid : name;
}

static bool isFailed(const StoreCopy::Values &values)
{
    return numberOf(values.value(VdiVM::FailedToConnectKey), VdiVM::FailedToConnectKey).value_or(0) != 0;
}

Desktop DesktopsModel::desktopOf(const QString &uuid, const StoreCopy::Pool &pool) const
{
    Desktop desktop;
    desktop.pool = uuid;
    desktop.name = nameOr(pool.values, uuid);
    desktop.state = stateOf(pool.values);
    desktop.isFailed = isFailed(pool.values);
    desktop.machineCount = pool.items.size();
    // The active ones first: one of them is what the user works on.
    for (const bool active : {true, false}) {
        for (auto it = pool.items.cbegin(); it != pool.items.cend(); ++it) {
            if (desktop.machines.size() == Desktop::mostMachines)
                break;
            if (isActive(*it) == active)
                desktop.machines << Desktop::Machine{nameOr(it->values, it.key()),
                                                     it->values.value(VdiVM::ItemStatusKey), active};
        }
    }
    return desktop;
}

Desktop DesktopsModel::desktopOf(const QString &group, const RankedPools &pools, const StoreCopy &stored) const
{
    const RankedPools order = rankPools(pools).pools;
    // What the library shows goes on top, also where a value has changed since it decided.
    const auto shown = std::find_if(order.cbegin(), order.cend(),
                                    [](const RankedPool &pool) { return stateOf(pool.values) == Desktop::Shown; });
    const RankedPool &lead = shown == order.cend() ? order.front() : *shown;
    Desktop desktop = desktopOf(lead.uuid, *stored.pools.constFind(lead.uuid));
    desktop.group = group;
    desktop.placeCount = int(order.size());
    for (const RankedPool &pool : order) {
        if (desktop.ranking.size() == Desktop::mostPlaces)
            break;
        Desktop::Place place{pool.uuid, nameOr(pool.values, pool.uuid), {}, stateOf(pool.values), pool.failed != 0};
        QStringList details;
        if (place.isFailed)
            details << tr("failed");
        if (pool.isPreferred())
            details << tr("preferred");
        const QString priority = pool.value(VdiVM::PriorityKey);
        if (!priority.isEmpty())
            details << tr("priority %1").arg(describeNumber(priority, VdiVM::PriorityKey));
        place.detail = details.join(QStringLiteral(", "));
        desktop.ranking << place;
    }
    return desktop;
}

void DesktopsModel::show(const StoreCopy &stored, const QVector<Change> &changes)
{
    m_stored = stored;
    m_changes = changes;
    QSet<QString> changed;
    for (const Change &change : changes) {
        if (change.table == Change::Pools)
            changed << change.id;
    }
    // One after the other by uuid; a group stands where its first pool does.
    struct Place
    {
        QString group;
        QString uuid;
        RankedPools pools;
        bool isChanged = false;
    };
    QVector<Place> places;
    QHash<QString, int> groups;
    for (auto it = stored.pools.cbegin(); it != stored.pools.cend(); ++it) {
        const QString group = it->values.value(VdiVM::GroupKey);
        const bool isChanged = changed.contains(it.key());
        if (group.isEmpty()) {
            places << Place{{}, it.key(), {}, isChanged};
            continue;
        }
        const int at = groups.value(group, places.size());
        if (at == places.size()) {
            groups.insert(group, at);
            places << Place{group, {}, {}, false};
        }
        Place &place = places[at];
        place.pools.push_back(rankedPool(it.key(), *it));
        place.isChanged = place.isChanged || isChanged;
    }
    QVector<Desktop> desktops;
    desktops.reserve(places.size());
    m_counts.clear();
    for (const Place &place : std::as_const(places)) {
        Desktop desktop = place.group.isNull() ? desktopOf(place.uuid, *stored.pools.constFind(place.uuid))
                                               : desktopOf(place.group, place.pools, stored);
        desktop.isChanged = place.isChanged;
        ++m_counts[desktop.state];
        if (m_showsHidden || desktop.state != Desktop::Hidden)
            desktops << desktop;
    }

    // Whatever changes, a view keeps its selection while the first of them are the same.
    const auto key = [](const Desktop &desktop) { return desktop.group.isNull() ? desktop.pool : desktop.group; };
    const auto isSame = [&](const Desktop &a, const Desktop &b) {
        return a.group.isNull() == b.group.isNull() && key(a) == key(b);
    };
    for (int i = 0; i < std::max(m_desktops.size(), desktops.size()); ++i) {
        if (i == desktops.size()) {
            beginRemoveRows({}, i, m_desktops.size() - 1);
            m_desktops.resize(i);
            endRemoveRows();
        } else if (i == m_desktops.size()) {
            beginInsertRows({}, i, desktops.size() - 1);
            m_desktops << desktops.mid(i);
            endInsertRows();
        } else if (isSame(m_desktops.at(i), desktops.at(i))) {
            if (m_desktops.at(i) == desktops.at(i))
                continue;
            m_desktops[i] = desktops.at(i);
            Q_EMIT dataChanged(index(i), index(i));
        } else if (i + 1 < m_desktops.size() && isSame(m_desktops.at(i + 1), desktops.at(i))) {
            beginRemoveRows({}, i, i);
            m_desktops.remove(i);
            endRemoveRows();
            --i;
        } else {
            beginInsertRows({}, i, i);
            m_desktops.insert(i, desktops.at(i));
            endInsertRows();
        }
    }
}

void DesktopsModel::setShowsHidden(bool shows)
{
    m_showsHidden = shows;
    show(StoreCopy(m_stored), QVector<Change>(m_changes));
}

QModelIndex DesktopsModel::indexOfPool(const QString &uuid) const
{
    const auto it = std::find_if(m_desktops.cbegin(), m_desktops.cend(), [&](const Desktop &desktop) {
        return desktop.pool == uuid || std::any_of(desktop.ranking.cbegin(), desktop.ranking.cend(),
                                                   [&](const Desktop::Place &place) { return place.uuid == uuid; });
    });
    return it == m_desktops.cend() ? QModelIndex() : index(int(it - m_desktops.cbegin()));
}

QString DesktopsModel::summary() const
{
    QStringList parts;
    if (m_counts.value(Desktop::Shown) > 0)
        parts << tr("%1 shown").arg(m_counts.value(Desktop::Shown));
    if (m_counts.value(Desktop::Hidden) > 0)
        parts << tr("%1 hidden").arg(m_counts.value(Desktop::Hidden));
    if (m_counts.value(Desktop::Undecided) > 0)
        parts << tr("%1 undecided").arg(m_counts.value(Desktop::Undecided));
    return parts.isEmpty() ? tr("none") : parts.join(QStringLiteral(", "));
}

int DesktopsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_desktops.size();
}

// What a card says, for those who hear it.
static QString describe(const Desktop &desktop)
{
    QStringList parts;
    parts.reserve(3 + desktop.ranking.size() + desktop.machines.size());
    parts << (desktop.state == Desktop::Shown    ? DesktopsModel::tr("shown")
              : desktop.state == Desktop::Hidden ? DesktopsModel::tr("hidden")
                                                 : DesktopsModel::tr("undecided"));
    if (desktop.isFailed)
        parts << DesktopsModel::tr("failed to connect");
    if (!desktop.group.isNull())
        parts << DesktopsModel::tr("group %1, pools: %2").arg(desktop.group).arg(desktop.placeCount);
    for (int i = 0; i < desktop.ranking.size(); ++i)
        parts << QStringLiteral("%1. %2 %3").arg(i + 1).arg(desktop.ranking.at(i).name, desktop.ranking.at(i).detail);
    for (const Desktop::Machine &machine : desktop.machines)
        parts << machine.name + QLatin1Char(' ') + machine.status +
                     (machine.isActive ? QLatin1Char(' ') + DesktopsModel::tr("active") : QString());
    return parts.join(QStringLiteral("; "));
}

QVariant DesktopsModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const Desktop &desktop = m_desktops.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return desktop.name;
    case Qt::ToolTipRole:
    case Qt::AccessibleDescriptionRole:
        return describe(desktop);
    case Qt::AccessibleTextRole:
        return QString(desktop.name + QStringLiteral(", ") + describe(desktop));
    case DesktopRole:
        return QVariant::fromValue(desktop);
    case PoolRole:
        return desktop.pool;
    default:
        return {};
    }
}
