// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "explanationhtml.h"

#include "describe.h"
#include "explanationtext.h"
#include "rankingtext.h"

#include <vmdatabase/vdivm.h>

#include <QtCore/QCoreApplication>

namespace {

// For translations.
struct Why
{
    Q_DECLARE_TR_FUNCTIONS(Why)
};

QString placeHtml(const PoolExplanation::Event &event)
{
    const QString what =
        event.call.isEmpty() ? Why::tr("a case begins with empty databases") : describeCall(event.call);
    return QStringLiteral("<a href='line:%1'>%2:%1</a> &nbsp;<tt>%3</tt>")
        .arg(event.place.line)
        .arg(event.place.file.toHtmlEscaped(), what.toHtmlEscaped());
}

QString rowHtml(const QString &title, const QString &html)
{
    return QStringLiteral("<tr><td class='title'>%1</td><td>%2</td></tr>").arg(title.toHtmlEscaped(), html);
}

QString rankingHtml(const Ranking &ranking, const QString &pool)
{
    const QStringList titles{Why::tr("Pool"),     Why::tr("Name"),    Why::tr("Failed"), Why::tr("Preferred"),
                             Why::tr("Priority"), Why::tr("Several"), Why::tr("Items")};
    QString html =
        QStringLiteral("<p class='title'>%1</p>")
            .arg(Why::tr("The ranking then; the first leads: %1").arg(describeReason(ranking)).toHtmlEscaped());
    html += QStringLiteral("<table class='ranking' cellspacing='0' cellpadding='3'><tr><th></th>");
    for (const QString &title : titles)
        html += QStringLiteral("<th align='left'>%1</th>").arg(title.toHtmlEscaped());
    html += QStringLiteral("</tr>");
    int place = 0;
    for (const RankedPool &ranked : ranking.pools) {
        QStringList cells{ranked.uuid, ranked.name()};
        for (const int key :
             {VdiVM::FailedToConnectKey, VdiVM::PreferredKey, VdiVM::PriorityKey, VdiVM::AllowMultiDynamicKey})
            cells << describeNumber(ranked.value(key), key);
        cells << QString::number(ranked.items) + (ranked.hasActiveItem ? Why::tr(", active") : QString());
        html += QStringLiteral("<tr%1><td>%2</td>")
                    .arg(ranked.uuid == pool ? QStringLiteral(" class='this'") : QString())
                    .arg(++place);
        for (const QString &cell : std::as_const(cells))
            html += QStringLiteral("<td>%1</td>").arg(cell.toHtmlEscaped());
        html += QStringLiteral("</tr>");
    }
    return html + QStringLiteral("</table>");
}

// The call that wrote the value, and what it logged.
QString decisionHtml(const PoolExplanation::Decision &decision)
{
    QString html;
    if (decision.failureCleared)
        html += rowHtml(Why::tr("Cleared"), Why::tr("its failure was cleared: an item of it is active"));
    html += rowHtml(Why::tr("Written"), placeHtml(decision.event));
    for (const QString &line : decision.log)
        html += rowHtml(&line == &decision.log.constFirst() ? Why::tr("Log") : QString(),
                        QStringLiteral("<tt style='white-space: pre-wrap'>%1</tt>").arg(line.toHtmlEscaped()));
    return html;
}

} // namespace

QString toHtml(const PoolExplanation &explanation)
{
    const QString state = explanation.removed ? QStringLiteral("removed") : describeState(explanation);
    QString why = explanation.decision ? describeDecision(*explanation.decision)
                                       : Why::tr("Nothing has decided yet: call dealVmPools");
    why[0] = why.at(0).toUpper();
    QString html =
        QStringLiteral("<h3>%1 <span class='%2'>%3</span></h3><p>%4.</p><table cellspacing='0' cellpadding='2'>")
            .arg((explanation.name.isEmpty() ? explanation.pool : explanation.name).toHtmlEscaped(), state,
                 state.isEmpty() ? Why::tr("undecided") : state, why.toHtmlEscaped());
    if (explanation.removed)
        html += rowHtml(Why::tr("Removed"), placeHtml(*explanation.removed));
    if (explanation.decision)
        html += decisionHtml(*explanation.decision);
    for (const PoolExplanation::LaterChange &change : explanation.later)
        html += rowHtml(&change == &explanation.later.constFirst() ? Why::tr("Since then") : QString(),
                        placeHtml(change.event));
    if (explanation.laterCount > explanation.later.size())
        html += rowHtml(QString(), Why::tr("and %1 more").arg(explanation.laterCount - explanation.later.size()));
    if (explanation.added)
        html += rowHtml(Why::tr("Added"), placeHtml(*explanation.added));
    html += QStringLiteral("</table>");
    if (explanation.decision && !explanation.decision->ranking.pools.empty())
        html += rankingHtml(explanation.decision->ranking, explanation.pool);
    return html;
}
