// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "linttext.h"

#include "describe.h"
#include "feed/json.h"
#include "operations/operations.h"
#include "rankingtext.h"

#include "rules/facts_p.h"

#include <algorithm>

static const char *nameOf(Finding::Kind kind)
{
    switch (kind) {
    case Finding::AddedByReading:
        return "addedByReading";
    case Finding::NoNumber:
        return "noNumber";
    case Finding::UndefinedLead:
        return "undefinedLead";
    case Finding::NothingRemoved:
        return "nothingRemoved";
    case Finding::WheelHidesUngrouped:
        return "wheelHidesUngrouped";
    case Finding::LeakedItem:
        break;
    }
    return "leakedItem";
}

static QString describeUndefinedLead(const Finding &finding)
{
    const QString group = finding.group.isEmpty() ? QStringLiteral("pools without a group")
                                                  : QStringLiteral("group ") + shortJson(finding.group);
    const Rules::Lead &lead = finding.ranking.lead;
    const auto contender = [&](size_t i) -> const RankedPool & {
        return finding.ranking.pools.at(lead.contenders.at(i));
    };
    if (lead.reason == Rules::Lead::Equal)
        return QStringLiteral("%1: %2 and %3%4 are equal in failure, preference and priority (%5), so which of them is "
                              "shown is undefined")
            .arg(group, shortJson(contender(0).uuid), shortJson(contender(1).uuid),
                 lead.contenders.size() > 2 ? QStringLiteral(" and %1 more").arg(lead.contenders.size() - 2)
                                            : QString(),
                 describeNumber(contender(0).value(VdiVM::PriorityKey), VdiVM::PriorityKey));
    const bool isFailure = lead.reason == Rules::Lead::ClashingFailures;
    const auto flag = [=](const RankedPool &pool) { return isFailure ? pool.failed : pool.preferred; };
    const int key = isFailure ? VdiVM::FailedToConnectKey : VdiVM::PreferredKey;
    size_t other = 1;
    while (flag(contender(other)) == flag(contender(0)))
        ++other;
    return QStringLiteral("%1: %2 is %3 in one pool and %4 in another, so their order and that of others is undefined")
        .arg(group, nameOf(key, NamedNumbers::NodeKeys), shortJson(contender(0).value(key)),
             shortJson(contender(other).value(key)));
}

QString describeFinding(const Finding &finding)
{
    const QString removed =
        finding.removed ? QStringLiteral("; %1 had removed it").arg(toText(*finding.removed)) : QString();
    switch (finding.kind) {
    case Finding::AddedByReading:
        return QStringLiteral("%1() adds pool %2 by reading it%3")
            .arg(Call(finding.call).name(), shortJson(finding.subject), removed);
    case Finding::NoNumber: {
        const Rules::DecidingKey *key = Rules::findDecidingKey(finding.change.key, finding.change.item.has_value());
        return QStringLiteral("%1: %2 %3 is no %4number and counts as 0")
            .arg(describeSubject(finding.change), describeAspect(finding.change), shortJson(finding.change.after),
                 key && key->reading == Rules::Reading::Signed ? QString() : QStringLiteral("unsigned "));
    }
    case Finding::UndefinedLead:
        return describeUndefinedLead(finding);
    case Finding::NothingRemoved:
        return QStringLiteral("%1 finds nothing to remove%2").arg(describeCall(finding.call), removed);
    case Finding::WheelHidesUngrouped: {
        QStringList pools;
        const QStringList first = finding.pools.mid(0, 3);
        for (const QString &pool : first)
            pools << shortJson(pool);
        const int more = finding.pools.size() - pools.size();
        return QStringLiteral("wheelVmGroup(\"\") hides pools that are in no group: %1%2")
            .arg(pools.join(QStringLiteral(", ")), more > 0 ? QStringLiteral(" and %1 more").arg(more) : QString());
    }
    case Finding::LeakedItem:
        break;
    }
    return QStringLiteral("setPolicyValue() under an empty pool uuid stores nothing and leaks an item");
}

QString toText(const Finding &finding)
{
    return toText(finding.place) +
           (finding.database == 1 ? QString() : QStringLiteral(" (database %1)").arg(finding.database)) +
           QStringLiteral(": ") + describeFinding(finding);
}

QJsonObject toJson(const Finding &finding)
{
    QJsonObject json = toJson(finding.place);
    json[QStringLiteral("database")] = finding.database;
    json[QStringLiteral("finding")] = QLatin1String(nameOf(finding.kind));
    json[QStringLiteral("text")] = describeFinding(finding);
    return json;
}

QStringList describeRepeated(const Lint &lint)
{
    QStringList lines;
    for (const Lint::Cause *cause : lint.causes()) {
        if (cause->count > 1)
            lines << QStringLiteral("%1: %2 was found %3 times, last at %4")
                         .arg(toText(cause->first), QLatin1String(nameOf(cause->kind)), QString::number(cause->count),
                              toText(cause->last));
    }
    for (int kind = 0; kind < Finding::kinds; ++kind) {
        const qint64 count = lint.uncaused(Finding::Kind(kind));
        if (count > 0)
            lines << QStringLiteral("%1: found %2 times more, of other causes than the %3 reported")
                         .arg(QLatin1String(nameOf(Finding::Kind(kind))), QString::number(count),
                              QString::number(Lint::mostCauses));
    }
    return lines;
}
