// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "overlaps.h"

#include "feed/json.h"

static constexpr size_t mostCalls = 1000;

bool Overlaps::overlap(const Call &earlier, const Call &later)
{
    if (earlier.thread == later.thread || earlier.thread.isEmpty() || later.thread.isEmpty())
        return false;
    if (earlier.begin >= 0 && later.begin >= 0)
        return later.begin < earlier.end && earlier.begin < later.end;
    return later.entered >= 0 && later.entered < earlier.entered; // began before it, ended after it
}

QStringList Overlaps::next(const FeedLine &line, qint64 lineNumber)
{
    if (line.kind == FeedLine::Case)
        beginFeed();
    if (line.kind != FeedLine::Call)
        return {};

    Database &database = m_databases[line.database];
    Call call;
    call.lineNumber = lineNumber;
    call.entered = line.entered.value_or(-1);
    call.begin = line.at && line.took ? *line.at * 1e6 : -1;
    call.end = call.begin + line.took.value_or(0) - 0.05; // as precise as they are written
    call.thread = escapeControls(line.thread);
    call.touched = database.names.enter(line.call);
    QStringList found;
    int apart = 0; // calls in a row that did not overlap; lines stand nearly in the order of the ends
    for (auto it = database.calls.crbegin(); it != database.calls.crend() && apart < 32; ++it) {
        const Call &other = *it;
        if (!overlap(other, call)) {
            ++apart;
            continue;
        }
        apart = 0;
        const QString text = conflict(other.touched, other.thread, call.touched, call.thread);
        if (!text.isEmpty())
            found << QStringLiteral("%1 (line %2)").arg(text).arg(other.lineNumber);
    }
    database.calls.push_back(std::move(call));
    if (database.calls.size() > mostCalls)
        database.calls.pop_front();
    const Operation *operation = findOperation(line.operation());
    if (operation && operation->life == Operation::Destructor)
        m_databases.erase(line.database);
    return found;
}
