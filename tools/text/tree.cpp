// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "tree.h"

#include "feed/json.h"
#include "rankingtext.h"
#include "texttable.h"

#include <vmdatabase/vdivm.h>

#include <algorithm>

using Values = StoreCopy::Values;

// The lead of each group and what decides about it.
static QMap<QString, Ranking> rankGroups(const StoreCopy &stored)
{
    QMap<QString, Ranking> rankings;
    const auto groups = poolsByGroup(stored);
    for (auto group = groups.cbegin(); group != groups.cend(); ++group)
        rankings.insert(group.key(), rankPools(*group));
    return rankings;
}

static QJsonArray readItems(const StoreCopy::Pool &pool)
{
    QJsonArray items;
    for (auto item = pool.items.cbegin(); item != pool.items.cend(); ++item)
        items << QJsonObject{{QStringLiteral("uuid"), item.key()},
                             {QStringLiteral("name"), toJson(item->values.value(VdiVM::NameKey))},
                             {QStringLiteral("status"), toJson(item->values.value(VdiVM::ItemStatusKey))},
                             {QStringLiteral("active"), isActive(*item)}};
    return items;
}

static QJsonArray readPools(const StoreCopy &stored)
{
    const QMap<QString, Ranking> groups = rankGroups(stored);
    QJsonArray pools;
    for (auto pool = stored.pools.cbegin(); pool != stored.pools.cend(); ++pool) {
        const auto value = [&](int key) { return toJson(pool->values.value(key)); };
        const Rules::Visibility visibility = Rules::visibilityOf(pool->values.value(VdiVM::HiddenKey));
        QJsonValue shown;
        if (visibility != Rules::Visibility::Undecided)
            shown = visibility == Rules::Visibility::Shown;
        const auto group = groups.constFind(pool->values.value(VdiVM::GroupKey));
        const bool isLead = group != groups.cend() && group->pools.front().uuid == pool.key();
        pools << QJsonObject{{QStringLiteral("uuid"), pool.key()},
                             {QStringLiteral("name"), value(VdiVM::NameKey)},
                             {QStringLiteral("server"), value(VdiVM::ServerIpKey)},
                             {QStringLiteral("type"), value(VdiVM::PoolTypeKey)},
                             {QStringLiteral("group"), value(VdiVM::GroupKey)},
                             {QStringLiteral("failed"), value(VdiVM::FailedToConnectKey)},
                             {QStringLiteral("preferred"), value(VdiVM::PreferredKey)},
                             {QStringLiteral("priority"), value(VdiVM::PriorityKey)},
                             {QStringLiteral("allowsSeveral"), value(VdiVM::AllowMultiDynamicKey)},
                             {QStringLiteral("shown"), shown},
                             {QStringLiteral("lead"), isLead},
                             {QStringLiteral("items"), readItems(*pool)}};
    }
    return pools;
}

QJsonObject readTree(const StoreCopy &stored)
{
    QJsonArray remoteApps;
    for (auto app = stored.remoteApps.cbegin(); app != stored.remoteApps.cend(); ++app)
        remoteApps << QJsonObject{{QStringLiteral("id"), app.key()},
                                  {QStringLiteral("record"), app->hasRecord},
                                  {QStringLiteral("key"), toJson(app->values.value(VdiVM::AppSummaryKey))},
                                  {QStringLiteral("value"), toJson(app->values.value(VdiVM::AppSummaryValueKey))},
                                  {QStringLiteral("policy"), !app->controlPolicy.isEmpty()}};
    QJsonArray saasApps;
    for (auto app = stored.saasApps.cbegin(); app != stored.saasApps.cend(); ++app)
        saasApps << QJsonObject{{QStringLiteral("id"), app.key()}};
    return {{QStringLiteral("closed"), stored.isClosed},
            {QStringLiteral("pools"), readPools(stored)},
            {QStringLiteral("remoteApps"), remoteApps},
            {QStringLiteral("saasApps"), saasApps}};
}

// The names of some nodes, each with its uuid where it has to be told from another or has no name.
template <typename Nodes>
static QMap<QString, QString> labels(const Nodes &nodes)
{
    QMap<QString, int> uses;
    for (const auto &node : nodes)
        ++uses[node.values.value(VdiVM::NameKey)];
    QMap<QString, QString> labels;
    for (auto node = nodes.cbegin(); node != nodes.cend(); ++node) {
        const QString name = node->values.value(VdiVM::NameKey);
        QString &label = labels[node.key()];
        if (!name.isEmpty())
            label = shortJson(name);
        if (name.isEmpty() || uses.value(name) > 1)
            label += (label.isEmpty() ? QString() : QStringLiteral(" ")) + shortJson(node.key());
    }
    return labels;
}

// What decides about a pool, as far as it has a value.
static QString describeValues(const Values &values)
{
    QStringList parts;
    const auto add = [&](const char *title, int key, bool isFlag) {
        const QString text = values.value(key);
        if (text.isEmpty() || (isFlag && text == QLatin1String("0")))
            return;
        parts << (isFlag && text == QLatin1String("1")
                      ? QString::fromLatin1(title)
                      : QLatin1String(title) + QLatin1Char(' ') + describeNumber(text, key));
    };
    add("type", VdiVM::PoolTypeKey, false);
    add("failed", VdiVM::FailedToConnectKey, true);
    add("preferred", VdiVM::PreferredKey, true);
    add("priority", VdiVM::PriorityKey, false);
    add("several", VdiVM::AllowMultiDynamicKey, true);
    const QString server = values.value(VdiVM::ServerIpKey);
    if (!server.isEmpty())
        parts << QStringLiteral("server ") + shortJson(server);
    return parts.join(QStringLiteral(", "));
}

// What is to be said about a pool's place in its group.
static QString describePlace(const RankedPool &pool, const Ranking &ranking)
{
    const Rules::Visibility visibility = Rules::visibilityOf(pool.value(VdiVM::HiddenKey));
    if (&pool != &ranking.pools.front())
        return visibility == Rules::Visibility::Shown
                   ? QStringLiteral("  <- still shown: not decided since the values changed")
                   : QString();
    QString lead = QStringLiteral("  <- lead: ") + describeReason(ranking);
    if (visibility != Rules::Visibility::Hidden)
        return lead;
    return lead + (ranking.rule == Rules::GroupRule::Nothing
                       ? QStringLiteral("; hidden, since a pool of the group holds an item")
                       : QStringLiteral("; still hidden: not decided since the values changed"));
}

static QString describeVisibility(Rules::Visibility visibility)
{
    switch (visibility) {
    case Rules::Visibility::Shown:
        return QStringLiteral("SHOWN");
    case Rules::Visibility::Hidden:
        return QStringLiteral("hidden");
    case Rules::Visibility::Undecided:
        break;
    }
    return QStringLiteral("undecided");
}

static void drawPool(QString &text, const QString &label, const StoreCopy::Pool &pool, const QString &place,
                     const TextTable &table, const QString &indent)
{
    const QString decision = describeVisibility(Rules::visibilityOf(pool.values.value(VdiVM::HiddenKey)));
    text += indent + table.line({decision, label, describeValues(pool.values)}) + place + QLatin1Char('\n');
    const QMap<QString, QString> itemLabels = labels(pool.items);
    for (auto item = pool.items.cbegin(); item != pool.items.cend(); ++item) {
        const QString status = item->values.value(VdiVM::ItemStatusKey);
        text += indent + (isActive(*item) ? QStringLiteral("    * ") : QStringLiteral("      ")) +
                itemLabels.value(item.key()) +
                (status.isEmpty() ? QString() : QStringLiteral("  ") + shortJson(status)) + QLatin1Char('\n');
    }
}

static void drawPools(QString &text, const StoreCopy &stored)
{
    const QMap<QString, QString> poolLabels = labels(stored.pools);
    int width = 0;
    for (const QString &label : poolLabels)
        width = std::max(width, std::min(TextTable::width(label), 40));
    const TextTable table({9, width});
    for (auto pool = stored.pools.cbegin(); pool != stored.pools.cend(); ++pool) {
        if (pool->values.value(VdiVM::GroupKey).isEmpty())
            drawPool(text, poolLabels.value(pool.key()), *pool, {}, table, QStringLiteral("  "));
    }
    const QMap<QString, Ranking> groups = rankGroups(stored);
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        text += QStringLiteral("  group ") + shortJson(group.key()) + QLatin1Char('\n');
        for (const RankedPool &pool : group->pools)
            drawPool(text, poolLabels.value(pool.uuid), *stored.pools.constFind(pool.uuid), describePlace(pool, *group),
                     table, QStringLiteral("    "));
    }
}

QString drawTree(const StoreCopy &stored)
{
    if (stored.isClosed)
        return QStringLiteral("The database is closed: nothing is stored.\n");
    QString text = QStringLiteral("Pools (* active):") +
                   (stored.pools.isEmpty() ? QStringLiteral(" none\n") : QStringLiteral("\n"));
    drawPools(text, stored);
    text += QStringLiteral("Remote applications:") +
            (stored.remoteApps.isEmpty() ? QStringLiteral(" none\n") : QStringLiteral("\n"));
    for (auto app = stored.remoteApps.cbegin(); app != stored.remoteApps.cend(); ++app) {
        text += QStringLiteral("  ") + shortJson(app.key());
        if (app->hasRecord)
            text += QStringLiteral("  %1 = %2")
                        .arg(shortJson(app->values.value(VdiVM::AppSummaryKey)),
                             shortJson(app->values.value(VdiVM::AppSummaryValueKey)));
        else
            text += QStringLiteral("  no record");
        text += app->controlPolicy.isEmpty() ? QStringLiteral("\n") : QStringLiteral("  with policy\n");
    }
    text += QStringLiteral("SaaS applications:") +
            (stored.saasApps.isEmpty() ? QStringLiteral(" none\n") : QStringLiteral("\n"));
    for (auto app = stored.saasApps.cbegin(); app != stored.saasApps.cend(); ++app)
        text += QStringLiteral("  ") + shortJson(app.key()) + QLatin1Char('\n');
    return text;
}
