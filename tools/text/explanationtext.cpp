// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "explanationtext.h"

#include "describe.h"
#include "feed/json.h"
#include "operations/operations.h"
#include "rankingtext.h"
#include "texttable.h"

static QString label(const QString &uuid, const QString &name)
{
    return shortJson(uuid) + (name.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(shortJson(name)));
}

static QString holding(int items)
{
    return items == 0   ? QStringLiteral("it holds none")
           : items == 1 ? QStringLiteral("it holds 1")
                        : QStringLiteral("it holds %1").arg(items);
}

// Why a pool that was decided upon alone is shown or hidden.
static QString describeRule(const PoolExplanation::Decision &decision)
{
    const QString whileEmpty =
        QStringLiteral("shown only while it holds no item: it is in no group and %1; ") + holding(decision.pool.items);
    switch (decision.rule) {
    case Rules::PoolRule::EmptyByType:
        return whileEmpty.arg(QStringLiteral("of type %1").arg(decision.pool.type));
    case Rules::PoolRule::Empty:
        return whileEmpty.arg(QStringLiteral("does not allow several desktops"));
    case Rules::PoolRule::Always:
        return QStringLiteral("shown whatever it holds: it is in no group and allows several desktops");
    case Rules::PoolRule::LeftToGroup:
        break;
    }
    return QStringLiteral("hidden until its group decides");
}

QString describeDecision(const PoolExplanation::Decision &decision)
{
    if (!decision.kind)
        return QStringLiteral("the client wrote it itself; the next decision writes it again");
    if (decision.ranking.pools.empty())
        return describeRule(decision);
    const QString group = decision.group.isEmpty() ? QStringLiteral("the pools without a group")
                                                   : QStringLiteral("group ") + shortJson(decision.group);
    if (decision.kind == Rules::Decision::Wheel)
        return QStringLiteral("the wheel of %1 shows its lead and hides the others").arg(group) +
               (decision.answersPool ? QString()
                                     : QStringLiteral("; it answers none, since all have failed to connect"));
    switch (decision.ranking.rule) {
    case Rules::GroupRule::LeadForSeveral:
        return group + QStringLiteral(" shows its lead: a pool of it both allows several desktops and is preferred");
    case Rules::GroupRule::LeadWhileEmpty:
        return group + QStringLiteral(" shows its lead: none of its pools holds an item");
    case Rules::GroupRule::Nothing:
        break;
    }
    return group + QStringLiteral(" is hidden whole: a pool of it holds an item, and none both allows several desktops "
                                  "and is preferred");
}

QString describeState(const PoolExplanation &explanation)
{
    switch (Rules::visibilityOf(explanation.hidden)) {
    case Rules::Visibility::Shown:
        return QStringLiteral("shown");
    case Rules::Visibility::Hidden:
        return QStringLiteral("hidden");
    case Rules::Visibility::Undecided:
        break;
    }
    return {};
}

static QString describeEvent(const PoolExplanation::Event &event)
{
    return toText(event.place) + QLatin1Char(' ') +
           (event.call.isEmpty() ? QStringLiteral("a case begins with empty databases") : describeCall(event.call));
}

QString toText(const PoolExplanation &explanation)
{
    QString state = describeState(explanation);
    if (state.isEmpty())
        state = explanation.hidden.isNull()
                    ? QStringLiteral("undecided")
                    : QStringLiteral("neither shown nor hidden, HiddenKey is ") + shortJson(explanation.hidden);
    QString text = QStringLiteral("pool %1 %2 %3\n")
                       .arg(label(explanation.pool, explanation.name),
                            explanation.removed ? QStringLiteral("was removed; it was") : QStringLiteral("is"), state);
    const TextTable table({0, 10});
    const auto rows = [&](const char *title, const QStringList &values) {
        for (int i = 0; i < values.size(); ++i)
            text += table.line({QString(), QLatin1String(i == 0 ? title : ""), values.at(i)}) + QLatin1Char('\n');
    };
    if (explanation.removed)
        rows("removed", {describeEvent(*explanation.removed)});
    if (explanation.decision) {
        const PoolExplanation::Decision &decision = *explanation.decision;
        rows("written", {describeEvent(decision.event) + QStringLiteral(": HiddenKey ") +
                         (explanation.hidden.isNull() ? QStringLiteral("none") : shortJson(explanation.hidden))});
        QStringList why{describeDecision(decision)};
        if (decision.failureCleared)
            why << QStringLiteral("its failure was cleared: an item of it is active");
        rows("why", why);
        if (!decision.ranking.pools.empty()) {
            const RankedPool &lead = decision.ranking.pools.front();
            rows("lead",
                 {(lead.uuid == explanation.pool ? QStringLiteral("this pool") : label(lead.uuid, lead.name())) +
                  QStringLiteral(": ") + describeReason(decision.ranking)});
        }
        rows("log", decision.log);
        rows("ranked", drawRanking(decision.ranking));
    } else {
        rows("why", {QStringLiteral("nothing has decided yet: call dealVmPools")});
    }
    QStringList later;
    for (const PoolExplanation::LaterChange &change : explanation.later)
        later << toText(change.event.place) + QLatin1Char(' ') + describeChange(change.change);
    if (explanation.laterCount > explanation.later.size())
        later << QStringLiteral("and %1 changes more").arg(explanation.laterCount - explanation.later.size());
    rows("since then", later);
    if (explanation.added)
        rows("added",
             {describeEvent(*explanation.added) +
              (Call(explanation.added->call).has(Operation::Reads) ? QStringLiteral(", a reading call") : QString())});
    return text;
}

static QJsonObject eventJson(const PoolExplanation::Event &event)
{
    QJsonObject json = toJson(event.place);
    json[QStringLiteral("call")] = event.call;
    return json;
}

QJsonObject toJson(const PoolExplanation &explanation)
{
    QJsonObject json{
        {QStringLiteral("database"), explanation.database},
        {QStringLiteral("name"), toJson(explanation.name)},
        {QStringLiteral("hidden"), toJson(explanation.hidden)},
        {QStringLiteral("state"), explanation.removed ? QStringLiteral("removed") : describeState(explanation)}};
    if (explanation.added)
        json[QStringLiteral("added")] = eventJson(*explanation.added);
    if (explanation.removed)
        json[QStringLiteral("removed")] = eventJson(*explanation.removed);
    if (!explanation.decision)
        return json;
    const PoolExplanation::Decision &decision = *explanation.decision;
    QJsonObject written = eventJson(decision.event);
    written[QStringLiteral("why")] = describeDecision(decision);
    written[QStringLiteral("failureCleared")] = decision.failureCleared;
    written[QStringLiteral("log")] = QJsonArray::fromStringList(decision.log);
    written[QStringLiteral("group")] = toJson(decision.group);
    if (!decision.ranking.pools.empty())
        written[QStringLiteral("ranking")] = toJson(decision.ranking);
    json[QStringLiteral("written")] = written;
    QJsonArray later;
    for (const PoolExplanation::LaterChange &change : explanation.later) {
        QJsonObject entry = eventJson(change.event);
        entry[QStringLiteral("changed")] = toJson(change.change);
        later << entry;
    }
    json[QStringLiteral("since")] = later;
    json[QStringLiteral("sinceCount")] = explanation.laterCount;
    return json;
}

QString describeUnknown(const Explanation &explanation)
{
    return QStringLiteral("pool %1 is unknown: no call has added it%2")
        .arg(shortJson(explanation.pool()),
             explanation.namesake().isEmpty()
                 ? QString()
                 : QStringLiteral("; it is the name of pool ") + shortJson(explanation.namesake()));
}

QString toText(const Explanation &explanation, const StoredNow &storedNow)
{
    const QList<int> databases = explanation.databases();
    QString text;
    for (const int number : databases)
        text += (databases.size() > 1 ? QStringLiteral("database %1: ").arg(number) : QString()) +
                toText(explanation.at(number, storedNow(number)));
    return databases.isEmpty() ? describeUnknown(explanation) + QLatin1Char('\n') : text;
}

QJsonObject toJson(const Explanation &explanation, const StoredNow &storedNow)
{
    const QList<int> numbers = explanation.databases();
    QJsonArray databases;
    for (const int number : numbers)
        databases << toJson(explanation.at(number, storedNow(number)));
    return {{QStringLiteral("pool"), explanation.pool()}, {QStringLiteral("databases"), databases}};
}
