// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "historytext.h"

#include "describe.h"
#include "feed/json.h"
#include "texttable.h"

// Of the lines, which are written one by one.
static constexpr int longestOperation = 26; // removeChildrenByParentUuid
static constexpr int longestKey = 24;       // GatewayAccessStrategyKey

QString describeWhat(const History::Entry &entry)
{
    QString what = describeAspect(entry.change);
    if (!hasValues(entry.change))
        what = describeSubject(entry.change) + QLatin1Char(' ') + what;
    else if (entry.change.item)
        what.prepend(shortJson(*entry.change.item) + QLatin1Char(' '));
    return entry.byReading ? what + QStringLiteral(" by a reading call") : what;
}

QString toText(const History::Entry &entry)
{
    QStringList cells{toText(entry.place), entry.operation, describeWhat(entry)};
    if (hasValues(entry.change))
        cells << describeValues(entry.change);
    const TextTable table({TextTable::width(entry.place.file) + 7, longestOperation, longestKey});
    return table.line(cells) +
           (entry.database == 1 ? QString() : QStringLiteral("  (database %1)").arg(entry.database));
}

QJsonObject toJson(const History::Entry &entry)
{
    QJsonObject json = toJson(entry.place);
    json[QStringLiteral("operation")] = entry.operation;
    json[QStringLiteral("database")] = entry.database;
    json[QStringLiteral("byReading")] = entry.byReading;
    json[QStringLiteral("changed")] = toJson(entry.change);
    return json;
}
