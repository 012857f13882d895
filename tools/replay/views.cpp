// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "views.h"

#include "feed/json.h"
#include "feed/operations.h"
#include "output.h"

QString Played::heading() const
{
    QString text = place() + QStringLiteral(": ");
    if (!caseName.isEmpty())
        text += caseName + QStringLiteral(": ");
    if (line.database != 1)
        text += QStringLiteral("database %1: ").arg(line.database);
    return text;
}

static void printLine(const QJsonObject &object)
{
    print(compactJson(object) + QLatin1Char('\n'));
}

void AnswersView::printJson(const Played &played, const QString &member, const QJsonValue &value) const
{
    QJsonArray arguments = played.line.call;
    arguments.removeFirst();
    QJsonObject object{{QStringLiteral("file"), played.file},
                       {QStringLiteral("line"), played.number},
                       {QStringLiteral("operation"), played.line.operation()},
                       {QStringLiteral("arguments"), arguments},
                       {member, value}};
    if (played.line.database != 1)
        object.insert(QStringLiteral("database"), played.line.database);
    printLine(object);
}

void AnswersView::follow(const Played &played)
{
    if (played.line.kind == FeedLine::Case && !m_json)
        print(played.place() + QStringLiteral(" case ") + compactJson(played.caseName) + QLatin1Char('\n'));
    const Outcome &outcome = played.outcome;
    if (outcome.emitted.isEmpty() && outcome.answer.isUndefined())
        return;

    QString call = played.place() + QLatin1Char(' ');
    if (played.line.database != 1)
        call += QStringLiteral("database %1: ").arg(played.line.database);
    call += describeCall(played.line.call);
    for (const QString &name : outcome.emitted) {
        if (m_json)
            printJson(played, QStringLiteral("signal"), name);
        else
            print(call + QStringLiteral(" emits ") + name + QLatin1Char('\n'));
    }
    if (outcome.answer.isUndefined())
        return;
    if (m_json)
        printJson(played, QStringLiteral("answer"), outcome.answer);
    else
        print(call + QStringLiteral(" -> ") + compactJson(outcome.answer) + QLatin1Char('\n'));
}

void CheckView::follow(const Played &played)
{
    if (!played.outcome.error.isEmpty())
        return; // reported already
    m_calls += int(played.line.kind == FeedLine::Call);
    const QStringList differences = m_check.compare(played.line, played.outcome);
    for (const QString &difference : differences) {
        if (m_json)
            printLine({{QStringLiteral("file"), played.file},
                       {QStringLiteral("line"), played.number},
                       {QStringLiteral("case"), played.caseName},
                       {QStringLiteral("database"), played.line.database},
                       {QStringLiteral("difference"), difference}});
        else
            print(played.heading() + difference + QLatin1Char('\n'));
    }
}

bool CheckView::finish()
{
    const QJsonObject counts{{QStringLiteral("calls"), m_calls},
                             {QStringLiteral("compared"), m_check.compared()},
                             {QStringLiteral("differ"), m_check.different()}};
    if (m_json)
        printLine({{QStringLiteral("check"), counts}});
    else
        print(QStringLiteral("%1 calls, %2 compared, %3 differ\n")
                  .arg(m_calls)
                  .arg(m_check.compared())
                  .arg(m_check.different()));
    return m_check.different() == 0;
}
