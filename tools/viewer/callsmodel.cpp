// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "callsmodel.h"

#include "look.h"

#include "feed/json.h"
#include "text/describe.h"

#include <QtCore/QLocale>
#include <QtCore/QRegularExpression>
#include <QtGui/QFont>
#include <QtGui/QGuiApplication>
#include <QtGui/QPalette>

CallsModel::CallsModel(const FeedDocument &document, QObject *parent)
    : QAbstractTableModel(parent)
    , m_document(document)
{
    connect(&document, &FeedDocument::aboutToReset, this, &CallsModel::beginResetModel);
    connect(&document, &FeedDocument::reset, this, &CallsModel::endResetModel);
    connect(&document, &FeedDocument::aboutToAppend, this,
            [this](int count) { beginInsertRows({}, m_document.rowCount(), m_document.rowCount() + count - 1); });
    connect(&document, &FeedDocument::appended, this, &CallsModel::endInsertRows);
}

int CallsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_document.rowCount();
}

int CallsModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QString CallsModel::describe(const FeedDocument &document, int row)
{
    constexpr int longest = 300; // nobody reads more in one line
    const FeedLine::Kind kind = document.row(row).kind;
    if (kind == FeedLine::Invalid || kind == FeedLine::Blank) {
        QString text = document.text(row).left(longest);
        static const QRegularExpression ornament(QStringLiteral("^[-#= ]+|[-#= ]+$"));
        if (kind == FeedLine::Blank)
            return text.remove(ornament);
        const bool isCutOff = !(document.row(row).flags & FeedRow::Bad);
        return isCutOff ? tr("Cut off: %1").arg(text) : text;
    }
    const FeedLine line = document.line(row);
    switch (kind) {
    case FeedLine::Call:
        return describeCall(line.call);
    case FeedLine::Case:
        return tr("Case %1: empty databases").arg(line.about.value(QLatin1String("case")).toString());
    case FeedLine::Unfinished:
        return document.report(row);
    default: {
        const QString conflict = line.about.value(QLatin1String("threads")).toString();
        return conflict.isEmpty() ? compactJson(line.about).left(longest) : conflict;
    }
    }
}

QString CallsModel::marks(const FeedRow &row)
{
    QStringList marks;
    if (row.flags & FeedRow::Bad)
        marks << tr("not played");
    if (row.flags & FeedRow::Different)
        marks << tr("differs from the recording");
    if (row.flags & FeedRow::Conflict)
        marks << tr("thread conflict");
    if (row.flags & FeedRow::Unfinished)
        marks << tr("did not return");
    if (row.flags & FeedRow::Critical)
        marks << tr("critical line");
    if (row.flags & FeedRow::ChangesShown)
        marks << tr("changes what is shown");
    else if (row.flags & FeedRow::Decision)
        marks << tr("decision");
    return marks.join(QStringLiteral(", "));
}

static QVariant markColor(const FeedRow &row)
{
    const QPalette palette = QGuiApplication::palette();
    if (row.flags & FeedRow::Conflict)
        return Look::accent(palette, Look::Conflict);
    if (row.flags & FeedRow::Problem)
        return Look::accent(palette, Look::Problem);
    if (row.flags & (FeedRow::Decision | FeedRow::ChangesShown))
        return Look::accent(palette, Look::Decision);
    return {};
}

QVariant CallsModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const FeedRow &row = m_document.row(index.row());
    switch (role) {
    case Qt::DisplayRole:
        switch (index.column()) {
        case LineColumn:
            return row.line;
        case TimeColumn: {
            const std::optional<double> at = m_document.line(index.row()).at;
            return at ? QVariant(QLocale().toString(*at, 'f', 3)) : QVariant();
        }
        case ThreadColumn:
            return m_document.line(index.row()).thread;
        case CallColumn:
            return row.kind == FeedLine::Call ? Look::code(describe(m_document, index.row()))
                                              : describe(m_document, index.row());
        default:
            return Look::code(row.answer);
        }
    case Qt::ToolTipRole: {
        QStringList texts{index.column() == AnswerColumn ? row.answer : describe(m_document, index.row())};
        texts << marks(row) << m_document.report(index.row());
        texts.removeAll(QString());
        texts.removeDuplicates();
        return texts.join(QLatin1Char('\n'));
    }
    case Qt::AccessibleTextRole:
        if (index.column() == CallColumn && row.flags)
            return QString(describe(m_document, index.row()) + QStringLiteral(", ") + marks(row));
        return {};
    case Qt::TextAlignmentRole:
        return int(Qt::AlignVCenter) | int(index.column() <= TimeColumn ? Qt::AlignRight : Qt::AlignLeft);
    case Qt::FontRole: {
        QFont font;
        font.setItalic(row.kind != FeedLine::Call && row.kind != FeedLine::Invalid);
        font.setBold(index.column() == CallColumn && (row.flags & (FeedRow::Decision | FeedRow::ChangesShown)));
        return font;
    }
    case Qt::ForegroundRole:
        if (index.column() == CallColumn && markColor(row).isValid())
            return markColor(row);
        if (index.column() != CallColumn || row.kind != FeedLine::Call)
            return Look::muted(QGuiApplication::palette());
        return {};
    case Qt::DecorationRole: // a view that has narrow icons shows a bar
        if (index.column() == LineColumn)
            return markColor(row).isValid() ? markColor(row) : QColor(Qt::transparent);
        return {};
    case FlagsRole:
        return row.flags;
    default:
        return {};
    }
}

QVariant CallsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section >= ColumnCount)
        return {};
    if (role == Qt::TextAlignmentRole)
        return int(Qt::AlignVCenter) | int(section <= TimeColumn ? Qt::AlignRight : Qt::AlignLeft);
    if (role == Qt::ToolTipRole && section == TimeColumn)
        return tr("Seconds since the recording began");
    if (role != Qt::DisplayRole)
        return {};
    switch (Column(section)) {
    case LineColumn:
        return tr("Line");
    case TimeColumn:
        return tr("Time");
    case ThreadColumn:
        return tr("Thread");
    case CallColumn:
        return tr("Call");
    case AnswerColumn:
        return tr("Answer");
    case ColumnCount:
        break;
    }
    return {};
}

ProblemsModel::ProblemsModel(const FeedDocument &document, QObject *parent)
    : QAbstractTableModel(parent)
    , m_document(document)
{
    connect(&document, &FeedDocument::reset, this, [this] {
        beginResetModel();
        m_rows.clear();
        endResetModel();
    });
    connect(&document, &FeedDocument::appended, this, [this](int first, int count) {
        std::vector<int> rows;
        for (int row = first; row < first + count; ++row) {
            if (m_document.row(row).flags & FeedRow::Problem)
                rows.push_back(row);
        }
        if (rows.empty())
            return;
        beginInsertRows({}, rowCount(), rowCount() + int(rows.size()) - 1);
        m_rows.insert(m_rows.end(), rows.begin(), rows.end());
        endInsertRows();
    });
}

int ProblemsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int ProblemsModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant ProblemsModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const int row = feedRow(index);
    if (role == Qt::TextAlignmentRole && index.column() == LineColumn)
        return int(Qt::AlignVCenter) | int(Qt::AlignRight);
    if (role == Qt::ForegroundRole && index.column() == ReportColumn)
        return markColor(m_document.row(row));
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole)
        return {};
    if (index.column() == LineColumn)
        return m_document.row(row).line;
    QString report = m_document.report(row);
    if (m_document.row(row).flags & FeedRow::Critical) {
        const QStringList lines = m_document.log(row).filter(QStringLiteral("critical: "));
        report += (report.isEmpty() ? QString() : QStringLiteral("\n")) + lines.join(QLatin1Char('\n'));
    }
    return role == Qt::ToolTipRole ? report : report.replace(QLatin1Char('\n'), QStringLiteral("; "));
}

QVariant ProblemsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return section == LineColumn ? tr("Line") : tr("Problem");
}
