// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "ranking.h"

#include "rules/facts_p.h"
#include "text_p.h"

#include <algorithm>

QString RankedPool::name() const
{
    return value(VdiVM::NameKey);
}

bool isActive(const StoreCopy::Item &item)
{
    return Rules::isActive(toUnsigned(item.values.value(VdiVM::ItemActiveKey)));
}

static void readFacts(Rules::PoolFacts &facts, const StoreCopy::Pool &pool)
{
    facts.failed = toUnsigned(pool.values.value(VdiVM::FailedToConnectKey));
    facts.preferred = toUnsigned(pool.values.value(VdiVM::PreferredKey));
    facts.priority = toUnsigned(pool.values.value(VdiVM::PriorityKey));
    facts.group = pool.values.value(VdiVM::GroupKey);
    facts.type = toUnsigned(pool.values.value(VdiVM::PoolTypeKey));
    facts.several = toSigned(pool.values.value(VdiVM::AllowMultiDynamicKey));
    facts.hasItems = !pool.items.isEmpty();
    facts.hasActiveItem = std::any_of(pool.items.cbegin(), pool.items.cend(), isActive);
}

Rules::PoolFacts factsOf(const StoreCopy::Pool &pool)
{
    Rules::PoolFacts facts;
    readFacts(facts, pool);
    return facts;
}

RankedPool rankedPool(const QString &uuid, const StoreCopy::Pool &pool)
{
    RankedPool ranked;
    readFacts(ranked, pool);
    ranked.uuid = uuid;
    ranked.values = pool.values;
    ranked.items = pool.items.size();
    return ranked;
}

RankedPools poolsOfGroup(const StoreCopy &stored, const QString &group)
{
    RankedPools pools;
    for (auto pool = stored.pools.cbegin(); pool != stored.pools.cend(); ++pool) {
        if (pool->values.value(VdiVM::GroupKey) == group)
            pools.push_back(rankedPool(pool.key(), *pool));
    }
    return pools;
}

QMap<QString, RankedPools> poolsByGroup(const StoreCopy &stored)
{
    QMap<QString, RankedPools> groups;
    for (auto pool = stored.pools.cbegin(); pool != stored.pools.cend(); ++pool) {
        const QString group = pool->values.value(VdiVM::GroupKey);
        if (!group.isEmpty())
            groups[group].push_back(rankedPool(pool.key(), *pool));
    }
    return groups;
}

Ranking rankPools(RankedPools pools)
{
    Ranking ranking;
    Rules::sortPools(pools);
    Rules::GroupFacts facts;
    for (const RankedPool &pool : pools)
        facts.add(pool);
    ranking.rule = facts.rule();
    if (!pools.empty())
        ranking.lead = Rules::findLead(pools);
    ranking.pools = std::move(pools);
    return ranking;
}

std::optional<qint64> numberOf(const QString &text, int key)
{
    const auto *const deciding = std::find_if(std::begin(Rules::decidingKeys), std::end(Rules::decidingKeys),
                                              [=](const Rules::DecidingKey &other) { return other.key == key; });
    const bool isSigned = deciding != std::end(Rules::decidingKeys) && deciding->reading == Rules::Reading::Signed;
    bool good = false;
    const qint64 number = isSigned ? qint64(text.toInt(&good)) : qint64(text.toUInt(&good));
    return good ? std::optional<qint64>(number) : std::nullopt;
}
