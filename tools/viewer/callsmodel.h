// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "feeddocument.h"

#include <QtCore/QAbstractTableModel>

/// The lines of a feed.
class CallsModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { LineColumn, TimeColumn, ThreadColumn, CallColumn, AnswerColumn, ColumnCount };
    enum Role { FlagsRole = Qt::UserRole };
    explicit CallsModel(const FeedDocument &document, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    /// A row as a person reads it: the call with key names, the text of a comment ...
    static QString describe(const FeedDocument &document, int row);

    /// What there is to know of a row beside what it says: "critical line, differs". Empty for most.
    static QString marks(const FeedRow &row);

private:
    const FeedDocument &m_document;
};

/// The rows of a feed that are marked as a problem, with what is wrong.
class ProblemsModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { LineColumn, ReportColumn, ColumnCount };
    explicit ProblemsModel(const FeedDocument &document, QObject *parent = nullptr);

    /// The feed's row that a row of this model is about.
    int feedRow(const QModelIndex &index) const { return m_rows.at(size_t(index.row())); }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    const FeedDocument &m_document;
    std::vector<int> m_rows;
};
