// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "check.h"

#include "json.h"
#include "operations.h"

// An error-location line ends in a number of the library's source, which every edit changes.
static QString withoutSourceLine(const QString &line)
{
    if (!line.contains(QLatin1String("] error occur in: ")))
        return line;
    return line.left(line.lastIndexOf(QLatin1String(" -- ")));
}

static QString lineOf(const QStringList &lines, int index)
{
    return index < lines.size() ? lines.at(index) : QStringLiteral("nothing more");
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

QStringList Check::compare(const FeedLine &recorded, const Outcome &played)
{
    if (recorded.kind == FeedLine::About)
        m_complete = m_complete || recorded.about.value(QLatin1String("complete")).toBool();
    if (recorded.kind != FeedLine::Call)
        return {};
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
    for (QString &difference : found)
        difference.prepend(describeCall(recorded.call) + QLatin1Char(' '));
    m_different += int(!found.isEmpty());
    return found;
}
