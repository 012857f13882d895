// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "explain.h"

#include "feed/json.h"
#include "operations/keynames.h"
#include "operations/operations.h"
#include "text/describe.h"

#include <vmdatabase/vmdatabase.h>

#include <algorithm>

static constexpr int mostLaterChanges = 10;

static bool isDecision(const QString &operation)
{
    return operation == QLatin1String("dealVmPools") || operation == QLatin1String("dealVmGroupPool") ||
           operation == QLatin1String("wheelVmGroup");
}

// Whether \a call has written HiddenKey of a pool, perhaps the value that stood there already.
static bool writesHidden(const QJsonArray &call, const QString &pool, const QString &group)
{
    const QString operation = call.at(0).toString();
    if (operation == QLatin1String("dealVmPools"))
        return true;
    if (operation == QLatin1String("dealVmGroupPool"))
        return !group.isEmpty();
    if (operation == QLatin1String("wheelVmGroup"))
        return group == call.at(1).toString();
    const bool isPoolCall = operation == QLatin1String("setPoolNodeValue");
    if (!isPoolCall && operation != QLatin1String("setNodeValue") && operation != QLatin1String("resetNodeValue"))
        return false;
    if (call.at(1).toString() != pool ||
        numberIn(call.at(isPoolCall ? 2 : 4), NamedNumbers::NodeKeys) != VdiVM::HiddenKey)
        return false;
    const int type = isPoolCall ? int(VdiVM::PoolNode) : numberIn(call.at(3), NamedNumbers::VmTypes);
    return type != VdiVM::ItemNode && (type != VdiVM::UnknownNode || operation == QLatin1String("resetNodeValue"));
}

// The lines about one group in what a decision logged. Its last part has, group by group, a line for each pool and
// perhaps one for the pool that is shown.
static QStringList linesOfGroup(const QStringList &log, const StoreCopy &stored, const QString &group)
{
    const auto isShow = [](const QString &line) { return line.startsWith(QLatin1String("info: GROUP ")); };
    QMap<QString, int> sizes;
    for (const StoreCopy::Pool &pool : stored.pools) {
        const QString name = pool.values.value(VdiVM::GroupKey);
        if (!name.isEmpty())
            ++sizes[name];
    }
    int begin = log.size() - int(std::count_if(log.cbegin(), log.cend(), isShow));
    for (const int size : std::as_const(sizes))
        begin -= size;
    for (auto it = sizes.cbegin(); it != sizes.cend() && begin >= 0; ++it) {
        int end = begin + it.value();
        end += int(end < log.size() && isShow(log.at(end)));
        if (it.key() == group)
            return log.mid(begin, end - begin);
        begin = end;
    }
    return {};
}

// What the library logs while it decides about such a pool alone, in no group. Items do not matter where it logs.
static QStringList logOfPool(const RankedPool &pool)
{
    const QuietLog log;
    VmDatabase database;
    for (const int key : {VdiVM::NameKey, VdiVM::AllowMultiDynamicKey, VdiVM::PoolTypeKey, VdiVM::PriorityKey})
        database.setPoolNodeValue(pool.uuid, key, pool.value(key));
    database.dealVmPools();
    return log.lines();
}

// Whether the decision about a pool of \a group may come out another way after \a change.
static bool matters(const Change &change, const QString &pool, const QString &group, const StoreCopy &stored)
{
    if (change.table != Change::Pools || change.kind == Change::PolicyValue)
        return false;
    if (change.kind == Change::Value && change.key == VdiVM::GroupKey && !change.item && !group.isEmpty() &&
        (change.before == group || change.after == group))
        return true;
    const auto it = stored.pools.constFind(change.id);
    if (change.id != pool &&
        (group.isEmpty() || it == stored.pools.cend() || it->values.value(VdiVM::GroupKey) != group))
        return false;
    if (change.kind != Change::Value)
        return change.item.has_value();
    if (change.item)
        return change.key == VdiVM::ItemActiveKey && (change.before.toUInt() == 1) != (change.after.toUInt() == 1);
    switch (change.key) {
    case VdiVM::AllowMultiDynamicKey:
    case VdiVM::PoolTypeKey:
    case VdiVM::PriorityKey:
    case VdiVM::FailedToConnectKey:
    case VdiVM::GroupKey:
    case VdiVM::PreferredKey:
        return true;
    default:
        return false;
    }
}

void Explanation::followChanges(Case &pool, const PlayedCall &played) const
{
    const Event event{played.place, played.line.call};
    for (const Change &change : played.outcome.changes) {
        if (change.table != Change::Pools || change.id != m_pool || change.item)
            continue;
        if (change.kind == Change::Added)
            pool = {event, {}, {}, {}, 0, {}, {}, {}};
        else if (change.kind == Change::Removed)
            pool.removed = event;
    }
    if (!pool.removed && pool.decision && !isDecision(played.line.operation())) {
        for (const Change &change : played.outcome.changes) {
            if (!matters(change, m_pool, pool.decision->group, played.stored))
                continue;
            if (++pool.laterCount <= mostLaterChanges)
                pool.later << LaterChange{event, change};
        }
    }
    const auto it = played.stored.pools.constFind(m_pool);
    if (it == played.stored.pools.cend())
        return;
    pool.name = it->values.value(VdiVM::NameKey);
    pool.group = it->values.value(VdiVM::GroupKey);
    pool.hidden = it->values.value(VdiVM::HiddenKey);
}

void Explanation::followDecision(Case &pool, const PlayedCall &played) const
{
    Decision decision{{played.place, played.line.call}, pool.group, {}, {}, {}, false, false};
    const QString operation = played.line.operation();
    const bool isWheel = operation == QLatin1String("wheelVmGroup");
    if (isDecision(operation) && (isWheel || !pool.group.isEmpty()))
        decision.pools = poolsOfGroup(played.stored, pool.group);
    const auto &stored = *played.stored.pools.constFind(m_pool);
    decision.pool = {m_pool, stored.values, stored.items.size(), false};
    for (const RankedPool &other : std::as_const(decision.pools)) {
        if (other.uuid == m_pool)
            decision.pool = other;
    }
    // NOLINTNEXTLINE(bugprone-branch-clone): one branch for each kind of decision
    if (isWheel) {
        decision.log = played.outcome.log;
    } else if (!decision.pools.isEmpty()) {
        decision.log = linesOfGroup(played.outcome.log, played.stored, pool.group);
    } else if (isDecision(operation)) {
        decision.log = played.outcome.log; // searched when somebody asks
    }
    for (const Change &change : played.outcome.changes)
        decision.failureCleared = decision.failureCleared || (change.id == m_pool && change.kind == Change::Value &&
                                                              change.key == VdiVM::FailedToConnectKey);
    decision.answersPool = played.outcome.answer[QStringLiteral("found")].toBool();
    pool.decision = decision;
    pool.later.clear();
    pool.laterCount = 0;
}

void Explanation::follow(const PlayedCall &played)
{
    if (played.line.kind == FeedLine::Case) {
        for (auto &entry : m_cases) {
            if (!entry.second.removed)
                entry.second.removed = Event{played.place, {}};
        }
        return;
    }
    if (played.line.kind != FeedLine::Call || !played.outcome.error.isEmpty())
        return;
    for (const Change &change : played.outcome.changes) {
        if (change.table == Change::Pools && !change.item && change.kind == Change::Value &&
            change.key == VdiVM::NameKey && change.after == m_pool)
            m_namesake = change.id;
    }
    auto it = m_cases.find(played.line.database);
    const bool isStored = played.stored.pools.contains(m_pool);
    if (it == m_cases.end()) {
        if (!isStored)
            return;
        it = m_cases.emplace(played.line.database, Case()).first;
    }
    followChanges(it->second, played);
    if (isStored && writesHidden(played.line.call, m_pool, it->second.group))
        followDecision(it->second, played);
}

static QString label(const QString &uuid, const QString &name)
{
    return shortJson(uuid) + (name.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(shortJson(name)));
}

static QString label(const RankedPool &pool)
{
    return label(pool.uuid, pool.name());
}

static QString holding(int items)
{
    return items == 0   ? QStringLiteral("it holds none")
           : items == 1 ? QStringLiteral("it holds 1")
                        : QStringLiteral("it holds %1").arg(items);
}

// Why an ungrouped pool is shown or hidden.
static QString describePoolRule(const RankedPool &pool, bool logsShow)
{
    if (logsShow)
        return QStringLiteral("shown whatever it holds: it is in no group and allows several desktops");
    const uint type = pool.number(VdiVM::PoolTypeKey);
    const bool byType = type == 1 || type == 3 || type == 7;
    return QStringLiteral("shown only while it holds no item: it is in no group and %1; %2")
        .arg(byType ? QStringLiteral("of type %1").arg(type) : QStringLiteral("does not allow several desktops"),
             holding(pool.items));
}

QString Explanation::describeDecision(const Decision &decision, const Ranking &ranking) const
{
    const QString operation = decision.event.call.at(0).toString();
    if (!isDecision(operation))
        return QStringLiteral("the client wrote it itself; the next decision writes it again");
    if (ranking.pools.isEmpty())
        return describePoolRule(decision.pool, !logOf(decision, ranking).isEmpty());

    const QString group = decision.group.isEmpty() ? QStringLiteral("the pools without a group")
                                                   : QStringLiteral("group ") + shortJson(decision.group);
    if (operation == QLatin1String("wheelVmGroup"))
        return QStringLiteral("the wheel of %1 shows its lead and hides the others").arg(group) +
               (decision.answersPool ? QString()
                                     : QStringLiteral("; it answers none, since all have failed to connect"));
    switch (ranking.rule) {
    case Ranking::ShowsSeveral:
        return group + QStringLiteral(" shows its lead: a pool of it both allows several desktops and is preferred");
    case Ranking::ShowsEmpty:
        return group + QStringLiteral(" shows its lead: none of its pools holds an item");
    case Ranking::ShowsNothing:
        break;
    }
    return group + QStringLiteral(" is hidden whole: a pool of it holds an item, and none both allows several desktops "
                                  "and is preferred");
}

// Those of the library's lines that are about the pool, or about what its group shows.
QStringList Explanation::logOf(const Decision &decision, const Ranking &ranking) const
{
    const bool isWheel = decision.event.call.at(0) == QLatin1String("wheelVmGroup");
    const QVector<RankedPool> &order = isWheel ? decision.pools : ranking.pools; // the wheel logs them by uuid
    QStringList log;
    if (order.isEmpty()) {
        const QStringList lines = isDecision(decision.event.call.at(0).toString()) ? logOfPool(decision.pool) : log;
        return lines.isEmpty() ? log : QStringList(decision.log.mid(decision.log.indexOf(lines.constFirst()), 1));
    }
    for (int i = 0; i < decision.log.size(); ++i) {
        if (i >= order.size() || order.at(i).uuid == m_pool)
            log << decision.log.at(i);
    }
    return log;
}

static QString describeEvent(const Place &place, const QJsonArray &call)
{
    return toText(place) + QLatin1Char(' ') +
           (call.isEmpty() ? QStringLiteral("a case begins with empty databases") : describeCall(call));
}

static QString stateOf(const QString &hidden)
{
    return hidden == QLatin1String("0")   ? QStringLiteral("shown")
           : hidden == QLatin1String("1") ? QStringLiteral("hidden")
                                          : QString();
}

QString Explanation::text(const Case &pool) const
{
    QString text;
    const auto row = [&text](const char *title, const QString &value) {
        text += QStringLiteral("  %1%2\n").arg(QLatin1String(title), -12).arg(value);
    };
    const auto rows = [&row](const char *title, const QStringList &values) {
        for (int i = 0; i < values.size(); ++i)
            row(i == 0 ? title : "", values.at(i));
    };
    QString state = stateOf(pool.hidden);
    if (state.isEmpty())
        state = pool.hidden.isNull()
                    ? QStringLiteral("undecided")
                    : QStringLiteral("neither shown nor hidden, HiddenKey is ") + shortJson(pool.hidden);
    text += QStringLiteral("pool %1 %2 %3\n")
                .arg(label(m_pool, pool.name), pool.removed ? QStringLiteral("was removed;") : QStringLiteral("is"),
                     pool.removed ? QStringLiteral("it was ") + state : state);
    if (pool.removed)
        row("removed", describeEvent(pool.removed->place, pool.removed->call));
    if (pool.decision) {
        const Decision &decision = *pool.decision;
        const Ranking ranking = rankPools(decision.pools);
        row("written", describeEvent(decision.event.place, decision.event.call) + QStringLiteral(": HiddenKey ") +
                           (pool.hidden.isNull() ? QStringLiteral("none") : shortJson(pool.hidden)));
        row("why", describeDecision(decision, ranking));
        if (decision.failureCleared)
            row("", QStringLiteral("its failure was cleared: an item of it is active"));
        if (!ranking.pools.isEmpty())
            row("lead", (ranking.pools.constFirst().uuid == m_pool ? QStringLiteral("this pool")
                                                                   : label(ranking.pools.constFirst())) +
                            QStringLiteral(": ") + describeReason(ranking));
        rows("log", logOf(decision, ranking));
        rows("ranked", drawRanking(ranking));
    } else {
        row("why", QStringLiteral("nothing has decided yet: call dealVmPools"));
    }
    QStringList later;
    for (const LaterChange &change : pool.later)
        later << toText(change.event.place) + QLatin1Char(' ') + describeChange(change.change);
    if (pool.laterCount > pool.later.size())
        later << QStringLiteral("and %1 changes more").arg(pool.laterCount - pool.later.size());
    rows("since then", later);
    if (pool.added)
        row("added",
            describeEvent(pool.added->place, pool.added->call) +
                (Call(pool.added->call).has(Operation::Reads) ? QStringLiteral(", a reading call") : QString()));
    return text;
}

QString Explanation::text() const
{
    if (!isKnown())
        return QStringLiteral("pool %1 is unknown: no call has added it%2\n")
            .arg(shortJson(m_pool), m_namesake.isEmpty()
                                        ? QString()
                                        : QStringLiteral("; it is the name of pool ") + shortJson(m_namesake));
    QString text;
    for (const auto &entry : m_cases)
        text += (m_cases.size() > 1 ? QStringLiteral("database %1: ").arg(entry.first) : QString()) +
                this->text(entry.second);
    return text;
}

static QJsonObject eventJson(const Place &place, const QJsonArray &call)
{
    QJsonObject json = toJson(place);
    json[QStringLiteral("call")] = call;
    return json;
}

QJsonObject Explanation::toJson(const Case &pool) const
{
    QJsonObject json{{QStringLiteral("name"), ::toJson(pool.name)},
                     {QStringLiteral("hidden"), ::toJson(pool.hidden)},
                     {QStringLiteral("state"), pool.removed ? QStringLiteral("removed") : stateOf(pool.hidden)}};
    if (pool.added)
        json[QStringLiteral("added")] = eventJson(pool.added->place, pool.added->call);
    if (pool.removed)
        json[QStringLiteral("removed")] = eventJson(pool.removed->place, pool.removed->call);
    if (!pool.decision)
        return json;
    const Decision &decision = *pool.decision;
    const Ranking ranking = rankPools(decision.pools);
    QJsonObject written = eventJson(decision.event.place, decision.event.call);
    written[QStringLiteral("why")] = describeDecision(decision, ranking);
    written[QStringLiteral("failureCleared")] = decision.failureCleared;
    written[QStringLiteral("log")] = QJsonArray::fromStringList(logOf(decision, ranking));
    written[QStringLiteral("group")] = ::toJson(decision.group);
    if (!ranking.pools.isEmpty())
        written[QStringLiteral("ranking")] = ::toJson(ranking);
    json[QStringLiteral("written")] = written;
    QJsonArray later;
    for (const LaterChange &change : pool.later) {
        QJsonObject entry = eventJson(change.event.place, change.event.call);
        entry[QStringLiteral("changed")] = ::toJson(change.change);
        later << entry;
    }
    json[QStringLiteral("since")] = later;
    json[QStringLiteral("sinceCount")] = pool.laterCount;
    return json;
}

QJsonObject Explanation::toJson() const
{
    QJsonArray databases;
    for (const auto &entry : m_cases) {
        QJsonObject json = toJson(entry.second);
        json[QStringLiteral("database")] = entry.first;
        databases << json;
    }
    return {{QStringLiteral("pool"), m_pool}, {QStringLiteral("databases"), databases}};
}
