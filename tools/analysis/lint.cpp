// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "lint.h"

#include "feed/json.h"
#include "operations/keynames.h"
#include "operations/operations.h"
#include "text/describe.h"

#include <vmdatabase/vdivm.h>

#include <QtCore/QSet>

#include <algorithm>

static const char *nameOfKind(Finding::Kind kind)
{
    static constexpr const char *names[] = {"addedByReading",      "noNumber",  "undefinedLead", "nothingRemoved",
                                            "wheelHidesUngrouped", "leakedItem"};
    return names[kind];
}

QString toText(const Finding &finding)
{
    return toText(finding.place) +
           (finding.database == 1 ? QString() : QStringLiteral(" (database %1)").arg(finding.database)) +
           QStringLiteral(": ") + finding.text;
}

QJsonObject toJson(const Finding &finding)
{
    QJsonObject json = toJson(finding.place);
    json[QStringLiteral("database")] = finding.database;
    json[QStringLiteral("finding")] = QLatin1String(nameOfKind(finding.kind));
    json[QStringLiteral("text")] = finding.text;
    return json;
}

// What has a name in one database is something else in another, and in the next case.
QString Lint::key(const QString &name) const
{
    return QStringLiteral("%1 %2 ").arg(m_case).arg(m_played->line.database) + name;
}

// Counts a finding. Whether it is to be reported; its text is not made otherwise.
bool Lint::isNew(Finding::Kind kind, const QString &cause)
{
    ++m_count;
    auto &causes = m_causes.at(size_t(kind));
    const QString name = key(cause);
    const auto known = causes.find(name);
    if (known == causes.end() && int(causes.size()) == mostCauses) {
        ++m_uncaused.at(size_t(kind));
        return false;
    }
    Cause &entry = known == causes.end() ? causes[name] : known->second;
    if (entry.count++ == 0) {
        entry.first = m_played->place;
        m_reported << qMakePair(kind, &entry);
    }
    entry.last = m_played->place;
    return entry.count == 1;
}

void Lint::report(Finding::Kind kind, const QString &text)
{
    m_findings << Finding{kind, m_played->place, m_played->line.database, text};
}

QStringList Lint::repeated() const
{
    QStringList lines;
    for (const auto &reported : m_reported) {
        const Cause &cause = *reported.second;
        if (cause.count > 1)
            lines << QStringLiteral("%1: %2 was found %3 times, last at %4")
                         .arg(toText(cause.first), QLatin1String(nameOfKind(reported.first)),
                              QString::number(cause.count), toText(cause.last));
    }
    for (size_t kind = 0; kind < m_uncaused.size(); ++kind) {
        if (m_uncaused.at(kind) > 0)
            lines << QStringLiteral("%1: found %2 times more, of other causes than the %3 reported")
                         .arg(QLatin1String(nameOfKind(Finding::Kind(kind))), QString::number(m_uncaused.at(kind)),
                              QString::number(mostCauses));
    }
    return lines;
}

// Whether a decision reads \a change's value as a number.
static bool isDecisionNumber(const Change &change)
{
    if (change.kind != Change::Value || change.table != Change::Pools)
        return false;
    if (change.item)
        return change.key == VdiVM::ItemActiveKey;
    return change.key == VdiVM::AllowMultiDynamicKey || change.key == VdiVM::PoolTypeKey ||
           change.key == VdiVM::PriorityKey || change.key == VdiVM::FailedToConnectKey ||
           change.key == VdiVM::PreferredKey;
}

void Lint::lookAtChange(const Change &change, const PlayedCall &played)
{
    if (change.table != Change::Pools)
        return;
    if (isDecisionNumber(change) && !change.after.isEmpty() && !isNumber(change.after, change.key)) {
        const QString aspect = describeSubject(change) + QStringLiteral(": ") + describeAspect(change);
        if (isNew(Finding::NoNumber, aspect))
            report(Finding::NoNumber,
                   QStringLiteral("%1 %2 is no %3number and counts as 0")
                       .arg(aspect, shortJson(change.after),
                            change.key == VdiVM::AllowMultiDynamicKey ? QString() : QStringLiteral("unsigned ")));
    }
    if (change.item)
        return;
    const QString name = key(change.id);
    if (change.kind == Change::Removed)
        m_removed.put(name, played.place);
    if (change.kind != Change::Added)
        return;
    if (!Call(played.line.call).has(Operation::Reads))
        return;
    const Place *removed = m_removed.find(name);
    if (!isNew(Finding::AddedByReading, change.id + QLatin1String(removed ? " removed" : "")))
        return;
    report(Finding::AddedByReading,
           QStringLiteral("%1() adds pool %2 by reading it%3")
               .arg(played.line.operation(), shortJson(change.id),
                    removed ? QStringLiteral("; %1 had removed it").arg(toText(*removed)) : QString()));
}

void Lint::lookAtRemoval(const PlayedCall &played)
{
    static const QSet<QString> removals{QStringLiteral("removeNode"), QStringLiteral("removeNodesByServerIp"),
                                        QStringLiteral("removeChildrenByParentUuid"),
                                        QStringLiteral("removeFamilyByParentUuid"), QStringLiteral("deleteRemoteApp")};
    const QString operation = played.line.operation();
    if (!played.outcome.changes.isEmpty() || played.stored.isClosed || !removals.contains(operation))
        return;
    const QString what = played.line.call.at(1).toString();
    if (operation == QLatin1String("removeChildrenByParentUuid") && played.stored.pools.contains(what))
        return; // the pool is there, and empty already
    const Place *removed = m_removed.find(key(what));
    if (!isNew(Finding::NothingRemoved, operation + QLatin1Char(' ') + what))
        return;
    report(Finding::NothingRemoved,
           QStringLiteral("%1 finds nothing to remove%2")
               .arg(describeCall(played.line.call),
                    removed ? QStringLiteral("; %1 had removed it").arg(toText(*removed)) : QString()));
}

static QString nameGroup(const QString &group)
{
    return group.isEmpty() ? QStringLiteral("pools without a group") : QStringLiteral("group ") + shortJson(group);
}

// The lead is not ranked here but looked for: whether there are two that nothing puts before one another.
void Lint::lookAtGroup(const QString &group, const QVector<RankedPool> &pools)
{
    const auto isShown = [](const RankedPool &pool) { return pool.value(VdiVM::HiddenKey) == QLatin1String("0"); };
    if (pools.size() < 2 || std::none_of(pools.cbegin(), pools.cend(), isShown))
        return;
    for (const int key : {VdiVM::FailedToConnectKey, VdiVM::PreferredKey}) {
        const auto flags = clashingFlags(pools, key);
        if (flags.first.isEmpty())
            continue;
        const QString name = nameOf(key, NamedNumbers::NodeKeys);
        if (isNew(Finding::UndefinedLead, group + QLatin1Char(' ') + name))
            report(Finding::UndefinedLead,
                   QStringLiteral("%1: %2 is %3 in one pool and %4 in another, so their order and that of others is "
                                  "undefined")
                       .arg(nameGroup(group), name, shortJson(flags.first), shortJson(flags.second)));
        return;
    }
    const RankedPool *lead = &pools.constFirst();
    QVector<const RankedPool *> equals; // to the lead
    for (int i = 1; i < pools.size(); ++i) {
        const RankedPool &pool = pools.at(i);
        if (whyFirst(*lead, pool) != Ranking::Undefined)
            continue;
        if (whyFirst(pool, *lead) == Ranking::Undefined) {
            equals << &pool;
            continue;
        }
        lead = &pool;
        equals.clear();
    }
    if (equals.isEmpty() || !isNew(Finding::UndefinedLead, group))
        return;
    report(Finding::UndefinedLead,
           QStringLiteral("%1: %2 and %3%4 are equal in failure, preference and priority (%5), so which of them is "
                          "shown is undefined")
               .arg(nameGroup(group), shortJson(lead->uuid), shortJson(equals.constFirst()->uuid),
                    equals.size() > 1 ? QStringLiteral(" and %1 more").arg(equals.size() - 1) : QString(),
                    describeNumber(lead->value(VdiVM::PriorityKey), VdiVM::PriorityKey)));
}

void Lint::lookAtDecision(const PlayedCall &played)
{
    bool &ranksChanged = m_ranksChanged.emplace(played.line.database, true).first->second;
    const QString operation = played.line.operation();
    if (operation == QLatin1String("wheelVmGroup")) {
        const QString group = played.line.call.at(1).toString();
        lookAtGroup(group, poolsOfGroup(played.stored, group));
        QStringList hidden;
        for (const Change &change : played.outcome.changes) {
            if (change.key == VdiVM::HiddenKey && change.after == QLatin1String("1"))
                hidden << shortJson(change.id);
        }
        if (group.isEmpty() && !hidden.isEmpty() && isNew(Finding::WheelHidesUngrouped, QString()))
            report(Finding::WheelHidesUngrouped,
                   QStringLiteral("wheelVmGroup(\"\") hides pools that are in no group: %1%2")
                       .arg(hidden.mid(0, 3).join(QStringLiteral(", ")),
                            hidden.size() > 3 ? QStringLiteral(" and %1 more").arg(hidden.size() - 3) : QString()));
    } else if (operation == QLatin1String("dealVmPools") || operation == QLatin1String("dealVmGroupPool")) {
        if (!ranksChanged)
            return;
        ranksChanged = false;
        const auto groups = poolsByGroup(played.stored);
        for (auto group = groups.cbegin(); group != groups.cend(); ++group)
            lookAtGroup(group.key(), *group);
    } else {
        ranksChanged = ranksChanged || !played.outcome.changes.isEmpty();
    }
}

void Lint::lookAtCall(const PlayedCall &played)
{
    if (played.line.operation() == QLatin1String("setPolicyValue") && played.line.call.at(1).toString().isEmpty() &&
        !played.stored.isClosed && isNew(Finding::LeakedItem, QString()))
        report(Finding::LeakedItem,
               QStringLiteral("setPolicyValue() under an empty pool uuid stores nothing and leaks an item"));
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
