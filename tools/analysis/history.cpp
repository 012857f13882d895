// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "history.h"

#include "feed/json.h"
#include "operations/operations.h"
#include "text/describe.h"

#include <algorithm>

// Columns of a table whose lines are written one by one.
static constexpr int longestOperation = 26; // removeChildrenByParentUuid
static constexpr int longestKey = 24;       // GatewayAccessStrategyKey

static std::optional<int> readKey(const QString &text, NamedNumbers names)
{
    int number = 0;
    if (numberOf(text, names, &number))
        return number;
    bool good = false;
    number = text.toInt(&good);
    return good ? std::optional<int>(number) : std::nullopt;
}

History::History(const QString &what)
    : m_isApp(what.startsWith(QLatin1String("app ")))
{
    // The text, once with all of it as uuids and once with a key at its end.
    const QString whole = m_isApp ? what.mid(4) : what;
    const int colon = whole.lastIndexOf(QLatin1Char(':'));
    QVector<QPair<QString, std::optional<int>>> texts{{whole, std::nullopt}};
    if (colon >= 0) {
        const auto key = readKey(whole.mid(colon + 1), m_isApp ? NamedNumbers::AppKeys : NamedNumbers::NodeKeys);
        if (key)
            texts << qMakePair(whole.left(colon), key);
    }
    for (const auto &text : std::as_const(texts)) {
        m_readings << Reading{text.first, std::nullopt, text.second};
        for (int i = 0; !m_isApp && i < text.first.size(); ++i) {
            if (text.first.at(i) == QLatin1Char('/'))
                m_readings << Reading{text.first.left(i), text.first.mid(i + 1), text.second};
        }
    }
    std::stable_sort(m_readings.begin(), m_readings.end(), [](const Reading &a, const Reading &b) {
        return a.id.size() != b.id.size() ? a.id.size() > b.id.size()
                                          : a.item.value_or(QString()).size() > b.item.value_or(QString()).size();
    });
}

// The way to read the text at this change; null if nothing is stored that it could mean.
const History::Reading *History::readingOf(const Change &change, const StoreCopy &stored) const
{
    for (const Reading &reading : m_readings) {
        const bool isChanged = reading.id == change.id;
        if (m_isApp) {
            if (isChanged || stored.remoteApps.contains(reading.id) || stored.saasApps.contains(reading.id))
                return &reading;
            continue;
        }
        const auto pool = stored.pools.constFind(reading.id);
        if (!isChanged && pool == stored.pools.cend())
            continue;
        const bool isWholePool = isChanged && !change.item && change.kind == Change::Removed; // and its items with it
        if (!reading.item || isWholePool || (isChanged && change.item == reading.item) ||
            (pool != stored.pools.cend() && pool->items.contains(*reading.item)))
            return &reading;
    }
    return nullptr;
}

bool History::matches(const Change &change, const StoreCopy &stored) const
{
    if (m_isApp != (change.table != Change::Pools))
        return false;
    const bool isNear = std::any_of(m_readings.cbegin(), m_readings.cend(),
                                    [&](const Reading &reading) { return reading.id == change.id; });
    const Reading *reading = isNear ? readingOf(change, stored) : nullptr;
    if (!reading || reading->id != change.id)
        return false;
    if (change.kind == Change::Removed && !change.item)
        return true;
    if (reading->item ? change.item != reading->item : reading->key && change.item)
        return false;
    if (!reading->key || change.kind == Change::Added || change.kind == Change::Removed)
        return true;
    return change.kind == Change::Value && change.key == *reading->key;
}

QVector<History::Entry> History::follow(const PlayedCall &played)
{
    QVector<Entry> entries;
    for (const Change &change : played.outcome.changes) {
        if (matches(change, played.stored))
            entries << Entry{played.place, played.line.operation(), played.line.database,
                             change.kind == Change::Added && Call(played.line.call).has(Operation::Reads), change};
    }
    return entries;
}

QString History::text(const Entry &entry) const
{
    QString what = describeAspect(entry.change);
    const bool isWhole = entry.change.kind == Change::Added || entry.change.kind == Change::Removed;
    if (isWhole)
        what = describeSubject(entry.change) + QLatin1Char(' ') + what;
    else if (entry.change.item)
        what.prepend(shortJson(*entry.change.item) + QLatin1Char(' '));
    if (entry.byReading)
        what += QStringLiteral(" by a reading call");
    QString line = toText(entry.place).leftJustified(entry.place.file.size() + 7) + QStringLiteral("  ") +
                   entry.operation.leftJustified(longestOperation) + QStringLiteral("  ") +
                   (isWhole ? what : what.leftJustified(longestKey));
    if (!isWhole)
        line += QStringLiteral("  ") + describeValues(entry.change);
    if (entry.database != 1)
        line += QStringLiteral("  (database %1)").arg(entry.database);
    return line;
}

QJsonObject History::toJson(const Entry &entry) const
{
    QJsonObject json = ::toJson(entry.place);
    json[QStringLiteral("operation")] = entry.operation;
    json[QStringLiteral("database")] = entry.database;
    json[QStringLiteral("byReading")] = entry.byReading;
    json[QStringLiteral("changed")] = ::toJson(entry.change);
    return json;
}
