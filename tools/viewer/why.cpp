// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "why.h"

#include "callsmodel.h"
#include "feeddocument.h"
#include "look.h"

#include "feed/json.h"
#include "operations/operations.h"
#include "text/describe.h"

#include <vmdatabase/vdivm.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>

#include <algorithm>

namespace {

// For translations.
struct Why
{
    Q_DECLARE_TR_FUNCTIONS(Why)
};

bool changesPool(const FeedDocument &document, int row, const QString &pool, Change::Kind kind)
{
    const QVector<Change> changes = document.changes(row);
    return std::any_of(changes.cbegin(), changes.cend(), [&](const Change &change) {
        return change.table == Change::Pools && change.id == pool && !change.item && change.kind == kind;
    });
}

// Whether a call may matter to the explanation: it decides, or changes the pool or one of its group.
bool mayMatter(const FeedDocument &document, int row, const QString &pool, const StoreCopy &stored)
{
    if (document.row(row).flags & (FeedRow::Decision | FeedRow::WritesHidden))
        return true;
    const QString group = stored.pools.value(pool).values.value(VdiVM::GroupKey);
    const QVector<Change> changes = document.changes(row);
    return std::any_of(changes.cbegin(), changes.cend(), [&](const Change &change) {
        if (change.table != Change::Pools || change.kind == Change::PolicyValue)
            return false;
        return change.id == pool || (change.key == VdiVM::GroupKey && change.kind == Change::Value) ||
               (!group.isEmpty() && stored.pools.value(change.id).values.value(VdiVM::GroupKey) == group);
    });
}

} // namespace

Explanation explainPool(const FeedDocument &document, int row, const QString &pool)
{
    Explanation explanation(pool);
    const QString file = QFileInfo(document.fileName()).fileName();
    const int database = row >= 0 ? document.row(row).database : 1;
    const auto isCase = [&](int i) { return document.row(i).kind == FeedLine::Case; };
    const auto changes = [&](int i, Change::Kind kind) {
        return document.row(i).database == database && changesPool(document, i, pool, kind);
    };
    const auto isStored = [&](int i) {
        Stores stores;
        document.move(stores, -1, i);
        return stores.value(database).pools.contains(pool);
    };

    // Nothing that was decided after the pool was removed is about it.
    int last = row;
    while (last >= 0 && !isStored(last)) {
        while (last >= 0 && !isCase(last) && !changes(last, Change::Removed))
            --last;
        if (last < 0 || !isCase(last) || isStored(last - 1))
            break;
        --last;
    }
    // A call that decides upon all pools makes all before it forgotten, but for the one that added the pool.
    int first = last;
    while (first > 0 && (first == last || !isCase(first)) && !changes(first, Change::Added) &&
           !(document.row(first).database == database && (document.row(first).flags & FeedRow::DecidesAll)))
        --first;
    int added = first;
    while (added > 0 && !isCase(added) && !changes(added, Change::Added))
        --added;

    Stores stores;
    int at = -1;
    const auto follow = [&](int next) {
        document.move(stores, at, next);
        at = next;
        const FeedRow &line = document.row(next);
        const StoreCopy stored = stores.value(line.database);
        if (line.kind != FeedLine::Case && !mayMatter(document, next, pool, stored))
            return;
        Outcome outcome;
        outcome.answer = QJsonDocument::fromJson('[' + line.answer.toUtf8() + ']').array().at(0);
        outcome.log = document.log(next);
        outcome.changes = document.changes(next);
        explanation.follow({{file, line.line}, document.line(next), outcome, stored});
    };
    if (added >= 0 && added < first)
        follow(added);
    for (int i = std::max(first, 0); i <= last; ++i) {
        const FeedRow &line = document.row(i);
        const bool mayChange =
            line.firstChange < document.endOfChanges(i) || (line.flags & (FeedRow::Decision | FeedRow::WritesHidden));
        if (isCase(i) || (mayChange && line.database == database))
            follow(i);
    }
    return explanation;
}

static QString placeHtml(const QJsonObject &event)
{
    const int line = event.value(QLatin1String("line")).toInt();
    const QJsonArray call = event.value(QLatin1String("call")).toArray();
    const QString what = call.isEmpty() ? Why::tr("a case begins with empty databases") : describeCall(call);
    return QStringLiteral("<a href='line:%1'>%2:%1</a> &nbsp;<tt>%3</tt>")
        .arg(line)
        .arg(event.value(QLatin1String("file")).toString().toHtmlEscaped(), what.toHtmlEscaped());
}

static QString rowHtml(const QString &title, const QString &html)
{
    return QStringLiteral("<tr><td class='title'>%1</td><td>%2</td></tr>").arg(title.toHtmlEscaped(), html);
}

// Why the first of the ranked pools is.
static QString reasonOf(const QJsonArray &pools)
{
    static constexpr std::pair<const char *, int> members[] = {
        {"failed", VdiVM::FailedToConnectKey}, {"preferred", VdiVM::PreferredKey}, {"priority", VdiVM::PriorityKey}};
    QMap<QString, RankedPool> byUuid;
    for (const QJsonValue &value : pools) {
        RankedPool pool;
        pool.uuid = value[QStringLiteral("uuid")].toString();
        for (const auto &member : members)
            pool.values.insert(member.second, value[QLatin1String(member.first)].toString());
        byUuid.insert(pool.uuid, pool);
    }
    QVector<RankedPool> ranked;
    ranked.reserve(byUuid.size());
    for (const RankedPool &pool : std::as_const(byUuid))
        ranked << pool;
    return describeReason(rankPools(ranked));
}

static QString rankingHtml(const QJsonObject &ranking, const QString &pool)
{
    QStringList titles{Why::tr("Pool"),     Why::tr("Name"),    Why::tr("Failed"), Why::tr("Preferred"),
                       Why::tr("Priority"), Why::tr("Several"), Why::tr("Items")};
    const QJsonArray pools = ranking.value(QLatin1String("pools")).toArray();
    QString html = QStringLiteral("<p class='title'>%1</p>")
                       .arg(Why::tr("The ranking then; the first leads: %1").arg(reasonOf(pools)).toHtmlEscaped());
    html += QStringLiteral("<table class='ranking' cellspacing='0' cellpadding='3'><tr><th></th>");
    for (const QString &title : titles)
        html += QStringLiteral("<th align='left'>%1</th>").arg(title.toHtmlEscaped());
    html += QStringLiteral("</tr>");
    int place = 0;
    for (const QJsonValue &value : pools) {
        const QJsonObject entry = value.toObject();
        const QString uuid = entry.value(QLatin1String("uuid")).toString();
        const auto number = [&](const char *member, int key) {
            return describeNumber(entry.value(QLatin1String(member)).toString(), key);
        };
        QString items = QString::number(entry.value(QLatin1String("items")).toInt());
        if (entry.value(QLatin1String("active")).toBool())
            items += Why::tr(", active");
        const QStringList cells{uuid,
                                entry.value(QLatin1String("name")).toString(),
                                number("failed", VdiVM::FailedToConnectKey),
                                number("preferred", VdiVM::PreferredKey),
                                number("priority", VdiVM::PriorityKey),
                                number("allowsSeveral", VdiVM::AllowMultiDynamicKey),
                                items};
        html += QStringLiteral("<tr%1><td>%2</td>")
                    .arg(uuid == pool ? QStringLiteral(" class='this'") : QString())
                    .arg(++place);
        for (const QString &cell : cells)
            html += QStringLiteral("<td>%1</td>").arg(cell.toHtmlEscaped());
        html += QStringLiteral("</tr>");
    }
    return html + QStringLiteral("</table>");
}

static QString caseHtml(const QJsonObject &entry, const QString &pool)
{
    QString state = entry.value(QLatin1String("state")).toString();
    const QString name = entry.value(QLatin1String("name")).toString();
    const QString title = name.isEmpty() ? pool : name;
    const QJsonObject written = entry.value(QLatin1String("written")).toObject();
    QString html = QStringLiteral("<h3>%1 <span class='%2'>%3</span></h3>")
                       .arg(title.toHtmlEscaped(), state, state.isEmpty() ? Why::tr("undecided") : state);
    const QString why = written.value(QLatin1String("why")).toString();
    html += QStringLiteral("<p>%1.</p><table cellspacing='0' cellpadding='2'>")
                .arg((why.isEmpty() ? Why::tr("Nothing has decided yet: call dealVmPools")
                                    : why.at(0).toUpper() + why.mid(1))
                         .toHtmlEscaped());
    if (written.value(QLatin1String("failureCleared")).toBool())
        html += rowHtml(Why::tr("Cleared"), Why::tr("its failure was cleared: an item of it is active"));
    if (entry.contains(QLatin1String("removed")))
        html += rowHtml(Why::tr("Removed"), placeHtml(entry.value(QLatin1String("removed")).toObject()));
    if (!written.isEmpty())
        html += rowHtml(Why::tr("Written"), placeHtml(written));
    const QJsonArray log = written.value(QLatin1String("log")).toArray();
    for (int i = 0; i < log.size(); ++i)
        html += rowHtml(
            i == 0 ? Why::tr("Log") : QString(),
            QStringLiteral("<tt style='white-space: pre-wrap'>%1</tt>").arg(log.at(i).toString().toHtmlEscaped()));
    const QJsonArray since = entry.value(QLatin1String("since")).toArray();
    for (int i = 0; i < since.size(); ++i)
        html += rowHtml(i == 0 ? Why::tr("Since then") : QString(), placeHtml(since.at(i).toObject()));
    const int more = entry.value(QLatin1String("sinceCount")).toInt() - since.size();
    if (more > 0)
        html += rowHtml(QString(), Why::tr("and %1 more").arg(more));
    if (entry.contains(QLatin1String("added")))
        html += rowHtml(Why::tr("Added"), placeHtml(entry.value(QLatin1String("added")).toObject()));
    html += QStringLiteral("</table>");
    if (written.contains(QLatin1String("ranking")))
        html += rankingHtml(written.value(QLatin1String("ranking")).toObject(), pool);
    return html;
}

QString toHtml(const Explanation &explanation, int database, const QPalette &palette)
{
    const auto color = [&](Look::Meaning meaning) { return Look::accent(palette, meaning).name(); };
    QString html =
        QStringLiteral("<style>h3 { margin: 0 } p { margin: 4px 0 6px 0 } a { color: %1; text-decoration: none }"
                       "td { padding-right: 10px } th { padding-right: 10px; font-weight: normal }"
                       ".ranking td, .ranking th, .title { white-space: nowrap } tt { font-family: '%6' }"
                       ".title, th { color: %2 } .this { background: %3 } .shown { color: %4 }"
                       ".hidden { color: %2 } .removed { color: %5 }</style>")
            .arg(color(Look::Decision), Look::muted(palette).name(), Look::tint(palette, Look::Decision).name(),
                 color(Look::Shown), color(Look::Removed), Look::fixedFont().family());
    const QJsonObject json = explanation.toJson();
    const QString pool = json.value(QLatin1String("pool")).toString();
    const QJsonArray databases = json.value(QLatin1String("databases")).toArray();
    for (const QJsonValue &entry : databases) {
        if (entry.toObject().value(QLatin1String("database")).toInt() == database)
            return html + caseHtml(entry.toObject(), pool);
    }
    return html + QStringLiteral("<p>%1</p>").arg(Why::tr("No call has added pool %1 yet.").arg(pool.toHtmlEscaped()));
}

HistoryModel::HistoryModel(const FeedDocument &document, QObject *parent)
    : QAbstractTableModel(parent)
    , m_document(document)
{
    connect(&document, &FeedDocument::reset, this, [this] { show({}, 1, -1); });
}

static bool isAbout(const Change &change, const Change &subject)
{
    if (change.table != subject.table || change.id != subject.id)
        return false;
    if (change.kind == Change::Removed && !change.item)
        return true; // with all it held
    if (subject.item ? change.item != subject.item : subject.kind != Change::Added && change.item)
        return false;
    if (subject.kind == Change::Added || change.kind == Change::Added || change.kind == Change::Removed)
        return true;
    return change.kind == subject.kind && change.policy == subject.policy && change.key == subject.key;
}

void HistoryModel::show(const std::optional<Change> &subject, int database, int row)
{
    QVector<Entry> entries;
    for (int i = 0; subject && i <= row; ++i) {
        const FeedRow &line = m_document.row(i);
        if (line.database != database || line.firstChange == m_document.endOfChanges(i))
            continue;
        const QVector<Change> changes = m_document.changes(i);
        for (const Change &change : changes) {
            if (isAbout(change, *subject))
                entries << Entry{i, change};
        }
    }
    beginResetModel();
    m_entries = entries;
    endResetModel();
}

int HistoryModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_entries.size();
}

int HistoryModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant HistoryModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const Entry &entry = m_entries.at(index.row());
    if (role == Qt::TextAlignmentRole && index.column() == LineColumn)
        return int(Qt::AlignVCenter) | int(Qt::AlignRight);
    if (role == Qt::ToolTipRole)
        return CallsModel::describe(m_document, entry.row);
    if (role != Qt::DisplayRole)
        return {};
    const bool hasValues = entry.change.kind != Change::Added && entry.change.kind != Change::Removed;
    const auto text = [](const QString &value) { return value.isNull() ? tr("none") : shortJson(value); };
    switch (index.column()) {
    case LineColumn:
        return m_document.row(entry.row).line;
    case CallColumn: {
        const FeedLine line = m_document.line(entry.row);
        return entry.change.kind == Change::Added && Call(line.call).has(Operation::Reads)
                   ? tr("%1, a reading call").arg(line.operation())
                   : line.operation();
    }
    case WhatColumn:
        return QString((entry.change.item ? shortJson(*entry.change.item) + QLatin1Char(' ') : QString()) +
                       describeAspect(entry.change));
    case BeforeColumn:
        return hasValues ? text(entry.change.before) : QVariant();
    default:
        return hasValues ? text(entry.change.after) : QVariant();
    }
}

QVariant HistoryModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section >= ColumnCount)
        return {};
    if (role == Qt::TextAlignmentRole)
        return int(Qt::AlignVCenter) | int(section == LineColumn ? Qt::AlignRight : Qt::AlignLeft);
    if (role != Qt::DisplayRole)
        return {};
    return QStringList{tr("Line"), tr("Call"), tr("What"), tr("Before"), tr("After")}.at(section);
}
