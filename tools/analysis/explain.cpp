// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "explain.h"

#include "operations/operations.h"

#include <algorithm>

static constexpr int mostLaterChanges = 10;
static constexpr unsigned allFacts = ~0U;

static std::optional<Rules::Decision> decisionOf(const Call &call)
{
    if (!call.has(Operation::Decides))
        return {};
    return call.subject() == Operation::AboutPools    ? Rules::Decision::DealPools
           : call.subject() == Operation::AboutGroups ? Rules::Decision::DealGroups
                                                      : Rules::Decision::Wheel;
}

// Whether \a call has written HiddenKey of a pool, perhaps the value that stood there already.
static bool writesHidden(const Call &call, const QString &pool, const QString &group)
{
    if (const auto decision = decisionOf(call))
        return *decision == Rules::Decision::DealPools ||
               (*decision == Rules::Decision::DealGroups && !group.isEmpty()) ||
               (*decision == Rules::Decision::Wheel && call.id() == group);
    return call.has(Operation::Writes) && call.id() == pool && call.key() == VdiVM::HiddenKey && call.isOfPool();
}

unsigned Explanation::factsChangedBy(const Change &change)
{
    if (change.table != Change::Pools)
        return 0;
    switch (change.kind) {
    case Change::Added:
        return change.item ? unsigned(Rules::ItemsFact) : allFacts;
    case Change::Removed:
        return change.item ? unsigned(Rules::ItemsFact | Rules::ActiveFact) : allFacts;
    case Change::Value: {
        const Rules::DecidingKey *deciding = Rules::findDecidingKey(change.key, change.item.has_value());
        return deciding ? unsigned(deciding->fact) : 0;
    }
    case Change::PolicyValue:
    case Change::ControlPolicy:
    case Change::Recorded:
        break;
    }
    return 0;
}

void Explanation::followChanges(Case &pool, const PlayedCall &played)
{
    const Event event{played.place, played.line.call};
    for (const Change &change : played.outcome.changes) {
        if (change.table == Change::Pools && change.id == m_pool && !change.item) {
            if (change.kind == Change::Added)
                pool = {event, {}, {}, {}, {}};
            else if (change.kind == Change::Removed)
                pool.removed = event;
        }
        const unsigned facts = pool.decision ? factsChangedBy(change) : 0;
        ++m_lastNumber;
        for (unsigned fact = 1; fact <= Rules::ActiveFact; fact <<= 1) {
            if (facts & fact)
                pool.later[{change.id, fact}] = {{event, change}, m_lastNumber};
        }
    }
    const auto it = played.stored.pools.constFind(m_pool);
    if (it != played.stored.pools.cend())
        pool.values = it->values;
}

void Explanation::followDecision(Case &pool, const PlayedCall &played) const
{
    Decision decision{{played.place, played.line.call},
                      decisionOf(Call(played.line.call)),
                      pool.values.value(VdiVM::GroupKey),
                      played.stored,
                      played.outcome.log,
                      false,
                      played.outcome.answer[QStringLiteral("found")].toBool()};
    for (const Change &change : played.outcome.changes)
        decision.failureCleared = decision.failureCleared || (change.id == m_pool && change.kind == Change::Value &&
                                                              change.key == VdiVM::FailedToConnectKey);
    pool.decision = decision;
    pool.later.clear();
}

void Explanation::follow(const PlayedCall &played)
{
    if (played.line.kind == FeedLine::Case) {
        for (auto &entry : m_cases) {
            if (!entry.second.removed)
                entry.second.removed = Event{played.place, {}};
        }
        return;
    }
    if (played.line.kind != FeedLine::Call || !played.outcome.error.isEmpty())
        return;
    for (const Change &change : played.outcome.changes) {
        if (change.table == Change::Pools && !change.item && change.kind == Change::Value &&
            change.key == VdiVM::NameKey && change.after == m_pool)
            m_namesake = change.id;
    }
    auto it = m_cases.find(played.line.database);
    const bool isStored = played.stored.pools.contains(m_pool);
    if (it == m_cases.end()) {
        if (!isStored)
            return;
        it = m_cases.emplace(played.line.database, Case()).first;
    }
    followChanges(it->second, played);
    if (isStored && writesHidden(Call(played.line.call), m_pool, it->second.values.value(VdiVM::GroupKey)))
        followDecision(it->second, played);
}

QList<int> Explanation::databases() const
{
    QList<int> numbers;
    numbers.reserve(int(m_cases.size()));
    for (const auto &entry : m_cases)
        numbers << entry.first;
    return numbers;
}

PoolExplanation::Decision Explanation::explain(const Decision &decision) const
{
    PoolExplanation::Decision explained;
    explained.event = decision.event;
    explained.kind = decision.kind;
    explained.group = decision.group;
    explained.failureCleared = decision.failureCleared;
    explained.answersPool = decision.answersPool;
    explained.pool = rankedPool(m_pool, *decision.stored.pools.constFind(m_pool));
    explained.rule = Rules::poolRule(explained.pool);
    if (decision.kind && (decision.kind == Rules::Decision::Wheel || !decision.group.isEmpty()))
        explained.ranking = rankPools(poolsOfGroup(decision.stored, decision.group));
    explained.log = logOf(decision, explained);
    return explained;
}

// What dealVmPools() and dealVmGroupPool() log: a line for each pool that is left to its group or always shown, and then,
// group by group, one for each pool in its order and one for a lead that is shown. The wheel logs a line for each pool by
// uuid and one for the answer. Where there are not as many lines, as some kinds are switched off, none can be told.
QStringList Explanation::logOf(const Decision &decision, const PoolExplanation::Decision &explained) const
{
    if (!decision.kind)
        return {};
    QVector<bool> isAbout; // each line
    if (decision.kind == Rules::Decision::Wheel) {
        for (auto pool = decision.stored.pools.cbegin(); pool != decision.stored.pools.cend(); ++pool) {
            if (pool->values.value(VdiVM::GroupKey) == decision.group)
                isAbout << (pool.key() == m_pool);
        }
        isAbout += QVector<bool>(int(decision.answersPool), true);
    } else {
        for (auto pool = decision.stored.pools.cbegin(); pool != decision.stored.pools.cend(); ++pool) {
            const Rules::PoolRule rule = Rules::poolRule(factsOf(*pool));
            if (decision.kind == Rules::Decision::DealPools &&
                (rule == Rules::PoolRule::LeftToGroup || rule == Rules::PoolRule::Always))
                isAbout << (pool.key() == m_pool && decision.group.isEmpty());
        }
        const auto groups = poolsByGroup(decision.stored);
        for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
            const Ranking ranking = group.key() == decision.group ? explained.ranking : rankPools(*group);
            for (const RankedPool &pool : ranking.pools)
                isAbout << (pool.uuid == m_pool);
            if (ranking.rule != Rules::GroupRule::Nothing)
                isAbout << (group.key() == decision.group);
        }
    }
    QStringList log;
    for (int i = 0; i < isAbout.size() && isAbout.size() == decision.log.size(); ++i) {
        if (isAbout.at(i))
            log << decision.log.at(i);
    }
    return log;
}

QVector<PoolExplanation::LaterChange> Explanation::changesSince(const Case &pool, const StoreCopy &now) const
{
    const Decision &decision = *pool.decision;
    if (!decision.kind || pool.removed)
        return {};
    const bool isOfGroup = decision.kind == Rules::Decision::Wheel || !decision.group.isEmpty();
    const unsigned facts = Rules::factsOf(*decision.kind, isOfGroup);
    const auto membersOf = [&](const StoreCopy &stored) {
        std::map<QString, Rules::PoolFacts> members;
        for (auto it = stored.pools.cbegin(); it != stored.pools.cend(); ++it) {
            if (isOfGroup ? it->values.value(VdiVM::GroupKey) == decision.group : it.key() == m_pool)
                members.emplace(it.key(), factsOf(*it));
        }
        return members;
    };
    std::map<qint64, PoolExplanation::LaterChange> found; // in order
    const auto find = [&](const QString &uuid, unsigned differing) {
        for (unsigned fact = 1; fact <= Rules::ActiveFact; fact <<= 1) {
            const auto change = pool.later.find({uuid, fact});
            if ((differing & fact) && change != pool.later.end())
                found.emplace(change->second.number, change->second);
        }
    };
    const auto then = membersOf(decision.stored);
    const auto today = membersOf(now);
    for (const auto &member : then) {
        const auto other = today.find(member.first);
        find(member.first, other == today.end() ? unsigned(Rules::GroupFact)
                                                : Rules::differingFacts(member.second, other->second) & facts);
    }
    for (const auto &member : today) {
        if (then.count(member.first) == 0)
            find(member.first, Rules::GroupFact);
    }
    QVector<PoolExplanation::LaterChange> changes;
    for (const auto &entry : found)
        changes << entry.second;
    return changes;
}

PoolExplanation Explanation::at(int database, const StoreCopy &now) const
{
    PoolExplanation explanation;
    explanation.database = database;
    explanation.pool = m_pool;
    const auto it = m_cases.find(database);
    if (it == m_cases.end())
        return explanation;
    const Case &pool = it->second;
    explanation.name = pool.values.value(VdiVM::NameKey);
    explanation.hidden = pool.values.value(VdiVM::HiddenKey);
    explanation.added = pool.added;
    explanation.removed = pool.removed;
    if (!pool.decision)
        return explanation;
    explanation.decision = explain(*pool.decision);
    explanation.later = changesSince(pool, now);
    explanation.laterCount = explanation.later.size();
    explanation.later = explanation.later.mid(0, mostLaterChanges);
    return explanation;
}
