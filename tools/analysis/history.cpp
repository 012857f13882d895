// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "history.h"

#include "operations/operations.h"

#include <algorithm>

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
{
    const bool isApp = what.startsWith(QLatin1String("app "));
    m_tables =
        isApp ? QVector<Change::Table>{Change::RemoteApps, Change::SaasApps} : QVector<Change::Table>{Change::Pools};
    // The text, once with all of it as uuids and once with a key at its end.
    const QString whole = isApp ? what.mid(4) : what;
    const int colon = whole.lastIndexOf(QLatin1Char(':'));
    QVector<QPair<QString, std::optional<Value>>> texts{{whole, std::nullopt}};
    if (colon >= 0) {
        const auto key = readKey(whole.mid(colon + 1), isApp ? NamedNumbers::AppKeys : NamedNumbers::NodeKeys);
        if (key)
            texts << qMakePair(whole.left(colon), std::optional<Value>({Change::Value, 0, *key}));
    }
    for (const auto &text : std::as_const(texts)) {
        m_readings << Reading{text.first, std::nullopt, text.second};
        for (int i = 0; !isApp && i < text.first.size(); ++i) {
            if (text.first.at(i) == QLatin1Char('/'))
                m_readings << Reading{text.first.left(i), text.first.mid(i + 1), text.second};
        }
    }
    std::stable_sort(m_readings.begin(), m_readings.end(), [](const Reading &a, const Reading &b) {
        return a.id.size() != b.id.size() ? a.id.size() > b.id.size()
                                          : a.item.value_or(QString()).size() > b.item.value_or(QString()).size();
    });
}

History::History(const Change &subject)
    : m_tables{subject.table}
    , m_readings{{subject.id, subject.item,
                  subject.kind == Change::Added || subject.kind == Change::Removed
                      ? std::nullopt
                      : std::optional<Value>({subject.kind, subject.policy, subject.key})}}
{}

// The way to read the text at this change; null if nothing is stored that it could mean.
const History::Reading *History::readingOf(const Change &change, const StoreCopy &stored) const
{
    for (const Reading &reading : m_readings) {
        const bool isChanged = reading.id == change.id;
        if (isOfApps()) {
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
    if (!m_tables.contains(change.table))
        return false;
    const bool isNear = std::any_of(m_readings.cbegin(), m_readings.cend(),
                                    [&](const Reading &reading) { return reading.id == change.id; });
    const Reading *reading = isNear ? readingOf(change, stored) : nullptr;
    if (!reading || reading->id != change.id)
        return false;
    if (change.kind == Change::Removed && !change.item)
        return true;
    if (reading->item ? change.item != reading->item : reading->value && change.item)
        return false;
    if (!reading->value || change.kind == Change::Added || change.kind == Change::Removed)
        return true;
    return change.kind == reading->value->kind && change.policy == reading->value->policy &&
           change.key == reading->value->key;
}

QVector<History::Entry> History::follow(const PlayedCall &played) const
{
    QVector<Entry> entries;
    for (const Change &change : played.outcome.changes) {
        if (matches(change, played.stored))
            entries << Entry{played.place, played.line.operation(), played.line.database,
                             change.kind == Change::Added && Call(played.line.call).has(Operation::Reads), change};
    }
    return entries;
}
