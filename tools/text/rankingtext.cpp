// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "rankingtext.h"

#include "feed/json.h"
#include "texttable.h"

#include <vmdatabase/vdivm.h>

QString describeReason(const Ranking &ranking)
{
    const auto priority = [&](size_t pool) { return ranking.pools.at(pool).priority; };
    switch (ranking.lead.reason) {
    case Rules::Lead::OnlyPool:
        return QStringLiteral("it is the only pool");
    case Rules::Lead::NotFailed:
        return QStringLiteral("it has not failed to connect");
    case Rules::Lead::Preferred:
        return QStringLiteral("it is preferred");
    case Rules::Lead::Priority:
        return QStringLiteral("its priority %1 is higher than %2").arg(priority(0)).arg(priority(1));
    case Rules::Lead::ClashingFailures:
    case Rules::Lead::ClashingPreferences:
    case Rules::Lead::Equal:
        break;
    }
    return QStringLiteral("the order of the first pools is undefined");
}

QString describeNumber(const QString &text, int key)
{
    if (text.isEmpty())
        return QStringLiteral("none");
    const std::optional<qint64> number = numberOf(text, key);
    return number ? QString::number(*number) : shortJson(text) + QStringLiteral(" (counts as 0)");
}

// What of a pool ranks it or decides about its group, as it is called where programs read it.
static constexpr std::pair<const char *, int> rankingKeys[] = {
    {"failed", VdiVM::FailedToConnectKey},
    {"preferred", VdiVM::PreferredKey},
    {"priority", VdiVM::PriorityKey},
    {"allowsSeveral", VdiVM::AllowMultiDynamicKey},
};

QStringList drawRanking(const Ranking &ranking)
{
    if (ranking.pools.empty())
        return {};
    TextTable table;
    table.add({QStringLiteral("pool"), QStringLiteral("name"), QStringLiteral("failed"), QStringLiteral("preferred"),
               QStringLiteral("priority"), QStringLiteral("several"), QStringLiteral("items"), QString()});
    for (const RankedPool &pool : ranking.pools) {
        QStringList row{shortJson(pool.uuid), pool.name().isNull() ? QStringLiteral("none") : shortJson(pool.name())};
        for (const auto &key : rankingKeys)
            row << describeNumber(pool.value(key.second), key.second);
        row << QString::number(pool.items) + (pool.hasActiveItem ? QStringLiteral(", active") : QString());
        row << (&pool == &ranking.pools.front() ? QStringLiteral("<- lead: ") + describeReason(ranking) : QString());
        table.add(row);
    }
    return table.lines();
}

static const char *nameOf(Rules::Lead::Reason reason)
{
    switch (reason) {
    case Rules::Lead::OnlyPool:
        return "onlyPool";
    case Rules::Lead::NotFailed:
        return "notFailed";
    case Rules::Lead::Preferred:
        return "preferred";
    case Rules::Lead::Priority:
        return "priority";
    case Rules::Lead::ClashingFailures:
    case Rules::Lead::ClashingPreferences:
    case Rules::Lead::Equal:
        break;
    }
    return "undefined";
}

static const char *nameOf(Rules::GroupRule rule)
{
    switch (rule) {
    case Rules::GroupRule::LeadForSeveral:
        return "showsSeveral";
    case Rules::GroupRule::LeadWhileEmpty:
        return "showsEmpty";
    case Rules::GroupRule::Nothing:
        break;
    }
    return "showsNothing";
}

QJsonObject toJson(const Ranking &ranking)
{
    QJsonArray pools;
    for (const RankedPool &pool : ranking.pools) {
        QJsonObject json{{QStringLiteral("uuid"), pool.uuid},
                         {QStringLiteral("name"), toJson(pool.name())},
                         {QStringLiteral("hidden"), toJson(pool.value(VdiVM::HiddenKey))},
                         {QStringLiteral("items"), pool.items},
                         {QStringLiteral("active"), pool.hasActiveItem}};
        for (const auto &key : rankingKeys)
            json[QLatin1String(key.first)] = toJson(pool.value(key.second));
        pools << json;
    }
    return {{QStringLiteral("pools"), pools},
            {QStringLiteral("reason"), QLatin1String(nameOf(ranking.lead.reason))},
            {QStringLiteral("rule"), QLatin1String(nameOf(ranking.rule))}};
}
