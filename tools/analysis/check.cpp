// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "check.h"

#include "feed/json.h"
#include "operations/operations.h"
#include "text/describe.h"

// An error-location line ends in a number of the library's source, which every edit changes.
static QString withoutSourceLine(const QString &line)
{
    if (!line.contains(QLatin1String("] error occur in: ")))
        return line;
    return line.left(line.lastIndexOf(QLatin1String(" -- ")));
}

static QString lineOf(const QStringList &lines, int index)
{
    return index < lines.size() ? escapeControls(lines.at(index)) : QStringLiteral("nothing more");
}

static void compareLines(const char *what, const QStringList &played, const QStringList &recorded, QStringList &found)
{
    for (int i = 0; i < std::max(played.size(), recorded.size()); ++i) {
        if (i < played.size() && i < recorded.size() &&
            withoutSourceLine(played.at(i)) == withoutSourceLine(recorded.at(i)))
            continue;
        found << QStringLiteral("%1 %2, recorded %3").arg(QLatin1String(what), lineOf(played, i), lineOf(recorded, i));
        return; // the rest follows from it
    }
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

// Calls that only read leave each other's answers alone.
static bool changesAnswers(const QJsonArray &call)
{
    return !Call(call).has(Operation::Reads);
}

QString Check::overlap(const FeedLine &line) const
{
    if (!line.entered)
        return {};
    const auto overlaps = [&line](const Call &other) {
        return other.entered > *line.entered || (other.thread != line.thread && line.at && other.end > *line.at);
    };
    for (auto other = m_recent.crbegin(); other != m_recent.crend(); ++other) {
        if (other->database == line.database && changesAnswers(other->call) && overlaps(*other))
            return QStringLiteral("; %1%2 ran at the same time, so their order is not certain")
                .arg(describeCall(other->call), other->thread.isEmpty()
                                                    ? QString()
                                                    : QStringLiteral(" of thread ") + escapeControls(other->thread));
    }
    if (!m_missing.empty() && *m_missing.begin() < *line.entered)
        return QStringLiteral(
                   "; a call that had begun before (\"entered\": %1) still ran, so their order is not certain")
            .arg(*m_missing.begin());
    return {};
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

QStringList Check::compare(const FeedLine &recorded, const Outcome &played)
{
    if (recorded.kind == FeedLine::About)
        m_complete = m_complete || recorded.about.value(QLatin1String("complete")).toBool();
    if (recorded.kind == FeedLine::Case)
        forgetCalls(); // those of a program that has replaced itself were another process's
    if (recorded.kind != FeedLine::Call)
        return {};
    if (recorded.entered)
        follow(recorded);
    const bool hasAnswer = !recorded.answer.isUndefined();
    if (!hasAnswer && !recorded.log && !recorded.emitted && !m_complete)
        return {};

    ++m_compared;
    QStringList found;
    if (!played.error.isEmpty())
        found << QStringLiteral("is not played: ") + played.error;
    else if (hasAnswer && played.answer != recorded.answer)
        found << QStringLiteral("answers %1, recorded %2")
                     .arg(played.answer.isUndefined() ? QStringLiteral("nothing") : compactJson(played.answer),
                          compactJson(recorded.answer));
    if (recorded.log || m_complete)
        compareLines("logs", played.log, recorded.log.value_or(QStringList()), found);
    if (recorded.emitted || m_complete)
        compareLines("emits", played.emitted, recorded.emitted.value_or(QStringList()), found);
    if (found.isEmpty())
        return found;
    ++m_different;
    const QString call = describeCall(recorded.call) + QLatin1Char(' ');
    const QString reason = overlap(recorded);
    for (QString &difference : found)
        difference = call + difference + reason;
    return found;
}
