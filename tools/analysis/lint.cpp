// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "lint.h"

#include "operations/operations.h"

#include "rules/facts_p.h"

#include <vmdatabase/vdivm.h>

#include <algorithm>

// What has a name in one database is something else in another, and in the next case.
QString Lint::key(const QString &name) const
{
    return QStringLiteral("%1 %2 ").arg(m_case).arg(m_played->line.database) + name;
}

// Counts a finding. What is to be reported; null if it was before.
Finding *Lint::find(Finding::Kind kind, const QString &cause)
{
    ++m_count;
    auto &causes = m_causes.at(size_t(kind));
    const QString name = key(cause);
    const auto known = causes.find(name);
    if (known == causes.end() && int(causes.size()) == mostCauses) {
        ++m_uncaused.at(size_t(kind));
        return nullptr;
    }
    Cause &entry = known == causes.end() ? causes[name] : known->second;
    entry.last = m_played->place;
    if (entry.count++ > 0)
        return nullptr;
    entry.kind = kind;
    entry.first = m_played->place;
    m_reported << &entry;
    Finding finding;
    finding.kind = kind;
    finding.place = m_played->place;
    finding.database = m_played->line.database;
    finding.call = m_played->line.call;
    m_findings << finding;
    return &m_findings.last();
}

static std::optional<Place> placeOf(const Place *place)
{
    return place ? std::optional<Place>(*place) : std::nullopt;
}

void Lint::lookAtChange(const Change &change, const PlayedCall &played)
{
    if (change.table != Change::Pools)
        return;
    const Rules::DecidingKey *deciding =
        change.kind == Change::Value ? Rules::findDecidingKey(change.key, change.item.has_value()) : nullptr;
    if (deciding && deciding->reading != Rules::Reading::Text && !change.after.isEmpty() &&
        !numberOf(change.after, change.key)) {
        const QString cause = QStringLiteral("%1 %2 ").arg(change.key).arg(change.item.has_value()) +
                              change.item.value_or(QString()) + QLatin1Char('/') + change.id;
        if (Finding *finding = find(Finding::NoNumber, cause))
            finding->change = change;
    }
    if (change.item)
        return;
    const QString name = key(change.id);
    if (change.kind == Change::Removed)
        m_removed.put(name, played.place);
    if (change.kind != Change::Added || !Call(played.line.call).has(Operation::Reads))
        return;
    const Place *removed = m_removed.find(name);
    if (Finding *finding = find(Finding::AddedByReading, change.id + QLatin1String(removed ? " removed" : ""))) {
        finding->subject = change.id;
        finding->removed = placeOf(removed);
    }
}

void Lint::lookAtRemoval(const PlayedCall &played)
{
    const Call call(played.line.call);
    const bool removesOne = call.has(Operation::Removes) && !call.operation()->parameters.isEmpty();
    if (!removesOne || !played.outcome.changes.isEmpty() || played.stored.isClosed)
        return;
    if (call.subject() == Operation::AboutItems && played.stored.pools.contains(call.id()))
        return; // the pool is there, and empty already
    if (Finding *finding = find(Finding::NothingRemoved, call.name() + QLatin1Char(' ') + call.id())) {
        finding->subject = call.id();
        finding->removed = placeOf(m_removed.find(key(call.id())));
    }
}

void Lint::lookAtGroup(const QString &group, const RankedPools &pools)
{
    const auto isShown = [](const RankedPool &pool) {
        return Rules::visibilityOf(pool.value(VdiVM::HiddenKey)) == Rules::Visibility::Shown;
    };
    if (std::none_of(pools.cbegin(), pools.cend(), isShown))
        return;
    const Rules::Lead lead = Rules::findLead(pools);
    if (lead.isCertain())
        return;
    if (Finding *finding = find(Finding::UndefinedLead, QStringLiteral("%1 ").arg(lead.reason) + group)) {
        finding->group = group;
        finding->ranking.pools = pools;
        finding->ranking.lead = lead;
    }
}

void Lint::lookAtDecision(const PlayedCall &played)
{
    bool &ranksChanged = m_ranksChanged.emplace(played.line.database, true).first->second;
    const Call call(played.line.call);
    if (!call.has(Operation::Decides)) {
        ranksChanged = ranksChanged || !played.outcome.changes.isEmpty();
        return;
    }
    if (call.subject() == Operation::AboutGroup) {
        lookAtGroup(call.id(), poolsOfGroup(played.stored, call.id()));
        QStringList hidden;
        for (const Change &change : played.outcome.changes) {
            if (change.key == VdiVM::HiddenKey && Rules::visibilityOf(change.after) == Rules::Visibility::Hidden)
                hidden << change.id;
        }
        if (!call.id().isEmpty() || hidden.isEmpty())
            return;
        if (Finding *finding = find(Finding::WheelHidesUngrouped, QString()))
            finding->pools = hidden;
        return;
    }
    if (!std::exchange(ranksChanged, false))
        return;
    const auto groups = poolsByGroup(played.stored);
    for (auto group = groups.cbegin(); group != groups.cend(); ++group)
        lookAtGroup(group.key(), *group);
}

void Lint::lookAtCall(const PlayedCall &played)
{
    const Call call(played.line.call);
    if (call.subject() == Operation::AboutPolicy && call.has(Operation::Adds) && call.id().isEmpty() &&
        !played.stored.isClosed)
        find(Finding::LeakedItem, QString());
}

QVector<Finding> Lint::follow(const PlayedCall &played)
{
    m_findings.clear();
    m_case += int(played.line.kind == FeedLine::Case);
    if (played.line.kind != FeedLine::Call || !played.outcome.error.isEmpty())
        return m_findings;
    m_played = &played;
    lookAtCall(played);
    for (const Change &change : played.outcome.changes)
        lookAtChange(change, played);
    lookAtRemoval(played);
    lookAtDecision(played);
    return m_findings;
}
