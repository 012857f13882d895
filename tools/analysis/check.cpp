// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "check.h"

#include "operations/operations.h"

#include <QtCore/QLoggingCategory>

#include <algorithm>

// An error-location line ends in a number of the library's source, which every edit changes.
static QString withoutSourceLine(const QString &line)
{
    if (!line.contains(QLatin1String("] error occur in: ")))
        return line;
    return line.left(line.lastIndexOf(QLatin1String(" -- ")));
}

static QJsonValue lineOf(const QStringList &lines, int index)
{
    return index < lines.size() ? QJsonValue(lines.at(index)) : QJsonValue(QJsonValue::Undefined);
}

static void compareLines(Difference::Kind kind, const QStringList &played, const QStringList &recorded,
                         QVector<Difference> &found)
{
    for (int i = 0; i < std::max(played.size(), recorded.size()); ++i) {
        if (i < played.size() && i < recorded.size() &&
            withoutSourceLine(played.at(i)) == withoutSourceLine(recorded.at(i)))
            continue;
        Difference difference;
        difference.kind = kind;
        difference.played = lineOf(played, i);
        difference.recorded = lineOf(recorded, i);
        found << difference;
        return; // the rest follows from it
    }
}

Check::Check()
{
    const QLoggingCategory &category = *QLoggingCategory::defaultCategory();
    if (!category.isInfoEnabled())
        m_notLogged << QStringLiteral("info");
    if (!category.isCriticalEnabled())
        m_notLogged << QStringLiteral("critical");
}

// The lines that would have been logged here.
QStringList Check::logged(QStringList lines) const
{
    for (const QString &severity : m_notLogged)
        lines.erase(std::remove_if(lines.begin(), lines.end(),
                                   [&](const QString &line) { return line.startsWith(severity + QLatin1Char(':')); }),
                    lines.end());
    return lines;
}

void Check::follow(const FeedLine &line)
{
    const qint64 number = *line.entered;
    if (!m_highest || number > *m_highest) {
        for (qint64 missing = std::max(m_highest.value_or(number - 1) + 1, number - reach); missing < number; ++missing)
            m_missing.insert(missing);
        m_missing.erase(m_missing.begin(), m_missing.lower_bound(number - reach));
        m_highest = number;
    } else {
        m_missing.erase(number);
    }
    m_recent.push_back(
        {line.call, line.thread, line.database, number, line.at && line.took ? *line.at + *line.took / 1e6 : 0});
    if (m_recent.size() > reach)
        m_recent.pop_front();
}

void Check::addOverlap(const FeedLine &line, QVector<Difference> &differences) const
{
    if (!line.entered)
        return;
    const auto overlaps = [&line](const Played &other) {
        return other.entered > *line.entered || (other.thread != line.thread && line.at && other.end > *line.at);
    };
    // Calls that only read leave each other's answers alone.
    const auto other = std::find_if(m_recent.crbegin(), m_recent.crend(), [&](const Played &call) {
        return call.database == line.database && overlaps(call) && !Call(call.call).has(Operation::Reads);
    });
    for (Difference &difference : differences) {
        if (other != m_recent.crend()) {
            difference.overlapping = other->call;
            difference.overlappingThread = other->thread;
        } else if (!m_missing.empty() && *m_missing.begin() < *line.entered) {
            difference.missing = *m_missing.begin();
        }
    }
}

void Check::beginFeed()
{
    m_complete = false;
    forgetCalls();
}

void Check::forgetCalls()
{
    m_recent.clear();
    m_missing.clear();
    m_highest.reset();
}

QVector<Difference> Check::compare(const FeedLine &recorded, const Outcome &played)
{
    QVector<Difference> found;
    if (recorded.kind == FeedLine::About)
        m_complete = m_complete || recorded.about.value(QLatin1String("complete")).toBool();
    if (recorded.kind == FeedLine::Case)
        forgetCalls(); // those of a program that has replaced itself were another process's
    if (recorded.kind != FeedLine::Call)
        return found;
    if (recorded.entered)
        follow(recorded);
    const bool hasAnswer = !recorded.answer.isUndefined();
    if (!hasAnswer && !recorded.log && !recorded.emitted && !m_complete)
        return found;

    ++m_compared;
    if (!played.error.isEmpty() || (hasAnswer && played.answer != recorded.answer)) {
        Difference difference;
        difference.kind = played.error.isEmpty() ? Difference::Answer : Difference::NotPlayed;
        difference.error = played.error;
        difference.played = played.answer;
        difference.recorded = recorded.answer;
        found << difference;
    }
    if (recorded.log || m_complete)
        compareLines(Difference::Log, logged(played.log), logged(recorded.log.value_or(QStringList())), found);
    if (recorded.emitted || m_complete)
        compareLines(Difference::Signals, played.emitted, recorded.emitted.value_or(QStringList()), found);
    if (found.isEmpty())
        return found;
    ++m_different;
    for (Difference &difference : found)
        difference.call = recorded.call;
    addOverlap(recorded, found);
    return found;
}
