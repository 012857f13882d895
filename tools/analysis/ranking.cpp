// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "ranking.h"

#include "feed/json.h"
#include "store/feedplayer.h"

#include <vmdatabase/vmdatabase.h>

#include <algorithm>

QString RankedPool::name() const
{
    return value(VdiVM::NameKey);
}

uint RankedPool::number(int key) const
{
    return value(key).toUInt();
}

bool isActive(const StoreCopy::Item &item)
{
    return item.values.value(VdiVM::ItemActiveKey).toUInt() == 1;
}

static RankedPool rankedPool(QMap<QString, StoreCopy::Pool>::const_iterator pool)
{
    return {pool.key(), pool->values, pool->items.size(),
            std::any_of(pool->items.cbegin(), pool->items.cend(), isActive)};
}

QVector<RankedPool> poolsOfGroup(const StoreCopy &stored, const QString &group)
{
    QVector<RankedPool> pools;
    for (auto pool = stored.pools.cbegin(); pool != stored.pools.cend(); ++pool) {
        if (pool->values.value(VdiVM::GroupKey) == group)
            pools << rankedPool(pool);
    }
    return pools;
}

QMap<QString, QVector<RankedPool>> poolsByGroup(const StoreCopy &stored)
{
    QMap<QString, QVector<RankedPool>> groups;
    for (auto pool = stored.pools.cbegin(); pool != stored.pools.cend(); ++pool) {
        const QString group = pool->values.value(VdiVM::GroupKey);
        if (!group.isEmpty())
            groups[group] << rankedPool(pool);
    }
    return groups;
}

// What the library logs while it decides about such pools, in a database of their own. They are named by position,
// which needs no quoting in the log. They hold no items: each would leave some memory behind.
static QStringList logOfDecision(const QVector<RankedPool> &pools)
{
    const QuietLog log;
    VmDatabase database;
    for (int i = 0; i < pools.size(); ++i) {
        const RankedPool &pool = pools.at(i);
        for (const int key :
             {VdiVM::FailedToConnectKey, VdiVM::PreferredKey, VdiVM::PriorityKey, VdiVM::AllowMultiDynamicKey})
            database.setPoolNodeValue(pool.uuid, key, pool.value(key));
        database.setPoolNodeValue(pool.uuid, VdiVM::GroupKey, QStringLiteral("group"));
        database.setPoolNodeValue(pool.uuid, VdiVM::NameKey, QString::number(i));
    }
    database.dealVmGroupPool();
    return log.lines();
}

Ranking::Reason whyFirst(const RankedPool &lead, const RankedPool &second)
{
    if (lead.number(VdiVM::FailedToConnectKey) != second.number(VdiVM::FailedToConnectKey))
        return lead.number(VdiVM::FailedToConnectKey) == 0 ? Ranking::NotFailed : Ranking::Undefined;
    if (lead.number(VdiVM::PreferredKey) != second.number(VdiVM::PreferredKey))
        return second.number(VdiVM::PreferredKey) == 0 ? Ranking::Preferred : Ranking::Undefined;
    return lead.number(VdiVM::PriorityKey) > second.number(VdiVM::PriorityKey) ? Ranking::Priority : Ranking::Undefined;
}

QPair<QString, QString> clashingFlags(const QVector<RankedPool> &pools, int key)
{
    QString first;
    for (const RankedPool &pool : pools) {
        const uint flag = pool.number(key);
        if (flag != 0 && first.isEmpty())
            first = pool.value(key);
        else if (flag != 0 && flag != first.toUInt())
            return {first, pool.value(key)};
    }
    return {};
}

Ranking rankPools(const QVector<RankedPool> &pools)
{
    Ranking ranking;
    bool holdsItem = false;
    const QStringList lines = logOfDecision(pools);
    for (const QString &line : lines) { // a line for each pool, in their order, and perhaps one for what is shown
        if (line.startsWith(QLatin1String("info: poolNode, SET HIDE "))) {
            ranking.pools << pools.at(line.section(QLatin1Char('"'), 1, 1).toInt());
            holdsItem = holdsItem || ranking.pools.constLast().items > 0;
        } else if (line.startsWith(QLatin1String("info: GROUP allowMultiDynamicDesktop, DO SHOW "))) {
            ranking.rule = Ranking::ShowsSeveral;
        } else if (!holdsItem) {
            ranking.rule = Ranking::ShowsEmpty;
        }
    }
    if (pools.size() < 2)
        return ranking;
    ranking.reason = whyFirst(ranking.pools.at(0), ranking.pools.at(1));
    if (ranking.reason != Ranking::NotFailed && (!clashingFlags(pools, VdiVM::FailedToConnectKey).first.isEmpty() ||
                                                 !clashingFlags(pools, VdiVM::PreferredKey).first.isEmpty()))
        ranking.reason = Ranking::Undefined;
    return ranking;
}

QString describeReason(const Ranking &ranking)
{
    const auto number = [&](int pool) { return ranking.pools.at(pool).number(VdiVM::PriorityKey); };
    switch (ranking.reason) {
    case Ranking::OnlyPool:
        return QStringLiteral("it is the only pool");
    case Ranking::NotFailed:
        return QStringLiteral("it has not failed to connect");
    case Ranking::Preferred:
        return QStringLiteral("it is preferred");
    case Ranking::Priority:
        return QStringLiteral("its priority %1 is higher than %2").arg(number(0)).arg(number(1));
    case Ranking::Undefined:
        break;
    }
    return QStringLiteral("the order of the first pools is undefined");
}

bool isNumber(const QString &text, int key)
{
    bool good = false;
    if (key == VdiVM::AllowMultiDynamicKey)
        text.toInt(&good);
    else
        text.toUInt(&good);
    return good;
}

QString describeNumber(const QString &text, int key)
{
    if (text.isEmpty())
        return QStringLiteral("none");
    if (!isNumber(text, key))
        return shortJson(text) + QStringLiteral(" (counts as 0)");
    return key == VdiVM::AllowMultiDynamicKey ? QString::number(text.toInt()) : QString::number(text.toUInt());
}

QStringList drawRanking(const Ranking &ranking)
{
    if (ranking.pools.isEmpty())
        return {};
    QVector<QStringList> rows{{QStringLiteral("pool"), QStringLiteral("name"), QStringLiteral("failed"),
                               QStringLiteral("preferred"), QStringLiteral("priority"), QStringLiteral("several"),
                               QStringLiteral("items"), QString()}};
    for (const RankedPool &pool : ranking.pools) {
        QStringList row{shortJson(pool.uuid), pool.name().isNull() ? QStringLiteral("none") : shortJson(pool.name())};
        for (const int key :
             {VdiVM::FailedToConnectKey, VdiVM::PreferredKey, VdiVM::PriorityKey, VdiVM::AllowMultiDynamicKey})
            row << describeNumber(pool.value(key), key);
        row << QString::number(pool.items) + (pool.active ? QStringLiteral(", active") : QString());
        row << (rows.size() == 1 ? QStringLiteral("<- lead: ") + describeReason(ranking) : QString());
        rows << row;
    }
    QVector<int> widths(rows.constFirst().size());
    for (const QStringList &row : std::as_const(rows)) {
        for (int column = 0; column < row.size() - 1; ++column)
            widths[column] = std::max(widths.at(column), row.at(column).size() + 2);
    }
    QStringList lines;
    for (const QStringList &row : std::as_const(rows)) {
        QString line;
        for (int column = 0; column < row.size() - 1; ++column)
            line += row.at(column).leftJustified(widths.at(column));
        lines << (line + row.constLast()).trimmed();
    }
    return lines;
}

QJsonObject toJson(const Ranking &ranking)
{
    static constexpr const char *reasons[] = {"onlyPool", "notFailed", "preferred", "priority", "undefined"};
    static constexpr const char *rules[] = {"showsSeveral", "showsEmpty", "showsNothing"};
    QJsonArray pools;
    for (const RankedPool &pool : ranking.pools) {
        const auto value = [&](int key) { return toJson(pool.value(key)); };
        pools << QJsonObject{{QStringLiteral("uuid"), pool.uuid},
                             {QStringLiteral("name"), value(VdiVM::NameKey)},
                             {QStringLiteral("failed"), value(VdiVM::FailedToConnectKey)},
                             {QStringLiteral("preferred"), value(VdiVM::PreferredKey)},
                             {QStringLiteral("priority"), value(VdiVM::PriorityKey)},
                             {QStringLiteral("allowsSeveral"), value(VdiVM::AllowMultiDynamicKey)},
                             {QStringLiteral("hidden"), value(VdiVM::HiddenKey)},
                             {QStringLiteral("items"), pool.items},
                             {QStringLiteral("active"), pool.active}};
    }
    return {{QStringLiteral("pools"), pools},
            {QStringLiteral("reason"), QLatin1String(reasons[ranking.reason])},
            {QStringLiteral("rule"), QLatin1String(rules[ranking.rule])}};
}
