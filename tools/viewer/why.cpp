// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "why.h"

#include "callsmodel.h"
#include "feeddocument.h"
#include "look.h"

#include "analysis/history.h"
#include "feed/json.h"
#include "operations/operations.h"
#include "text/describe.h"
#include "text/explanationhtml.h"

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

// Whether a call may matter to the explanation: it decides, or changes what decides.
bool canMatter(const FeedDocument &document, int row)
{
    if (document.row(row).flags & (FeedRow::Decision | FeedRow::WritesHidden))
        return true;
    const QVector<Change> changes = document.changes(row);
    return std::any_of(changes.cbegin(), changes.cend(), Explanation::canMatter);
}

} // namespace

std::optional<PoolExplanation> explainPool(const FeedDocument &document, int row, const QString &pool)
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
        Outcome outcome;
        outcome.answer = QJsonDocument::fromJson('[' + line.answer.toUtf8() + ']').array().at(0);
        outcome.log = document.log(next);
        outcome.changes = document.changes(next);
        explanation.follow({{file, line.line}, document.line(next), outcome, stores[line.database]});
    };
    if (added >= 0 && added < first)
        follow(added);
    for (int i = std::max(first, 0); i <= last; ++i) {
        if (isCase(i) || (document.row(i).database == database && canMatter(document, i)))
            follow(i);
    }
    if (!explanation.databases().contains(database))
        return {};
    document.move(stores, at, row);
    return explanation.at(database, stores.value(database));
}

QString toHtml(const std::optional<PoolExplanation> &explanation, const QString &pool, const QPalette &palette)
{
    if (!explanation)
        return QStringLiteral("<p>%1</p>").arg(Why::tr("No call has added pool %1 yet.").arg(pool.toHtmlEscaped()));
    const auto color = [&](Look::Meaning meaning) { return Look::accent(palette, meaning).name(); };
    return QStringLiteral("<style>h3 { margin: 0 } p { margin: 4px 0 6px 0 } a { color: %1; text-decoration: none }"
                          "td { padding-right: 10px } th { padding-right: 10px; font-weight: normal }"
                          ".ranking td, .ranking th, .title { white-space: nowrap } tt { font-family: '%6' }"
                          ".title, th { color: %2 } .this { background: %3 } .shown { color: %4 }"
                          ".hidden { color: %2 } .removed { color: %5 }</style>")
               .arg(color(Look::Decision), Look::muted(palette).name(), Look::tint(palette, Look::Decision).name(),
                    color(Look::Shown), color(Look::Removed), Look::fixedFont().family()) +
           toHtml(*explanation);
}

HistoryModel::HistoryModel(const FeedDocument &document, QObject *parent)
    : QAbstractTableModel(parent)
    , m_document(document)
{
    connect(&document, &FeedDocument::reset, this, [this] { show({}, 1, -1); });
}

void HistoryModel::show(const std::optional<Change> &subject, int database, int row)
{
    QVector<Entry> entries;
    const History history(subject.value_or(Change()));
    for (int i = 0; subject && i <= row; ++i) {
        const FeedRow &line = m_document.row(i);
        if (line.database != database || line.firstChange == m_document.endOfChanges(i))
            continue;
        const QVector<Change> changes = m_document.changes(i);
        for (const Change &change : changes) {
            if (history.matches(change, {}))
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
        return hasValues(entry.change) ? describeBefore(entry.change) : QVariant();
    default:
        return hasValues(entry.change) ? describeAfter(entry.change) : QVariant();
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
    switch (Column(section)) {
    case LineColumn:
        return tr("Line");
    case CallColumn:
        return tr("Call");
    case WhatColumn:
        return tr("What");
    case BeforeColumn:
        return tr("Before");
    case AfterColumn:
        return tr("After");
    case ColumnCount:
        break;
    }
    return {};
}
