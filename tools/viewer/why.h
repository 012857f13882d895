// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "analysis/explain.h"
#include "store/storecopy.h"

#include <QtCore/QAbstractTableModel>
#include <QtCore/QVector>

class FeedDocument;

/// Why a pool is shown or hidden after \a row, as vmdatabase-replay explains it there. Reads only the lines that the
/// explanation can depend on. None if no call has added the pool yet.
std::optional<PoolExplanation> explainPool(const FeedDocument &document, int row, const QString &pool);

/// The explanation in the user's colours. Places are links, "line:58".
QString toHtml(const std::optional<PoolExplanation> &explanation, const QString &pool, const QPalette &palette);

/// Every change of a value, machine, pool or application up to a row.
class HistoryModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { LineColumn, CallColumn, WhatColumn, BeforeColumn, AfterColumn, ColumnCount };
    explicit HistoryModel(const FeedDocument &document, QObject *parent = nullptr);

    /// Shows what changed \a subject in its database up to \a row. A subject that is added or removed stands for all that
    /// it holds.
    void show(const std::optional<Change> &subject, int database, int row);

    int feedRow(const QModelIndex &index) const { return m_entries.at(index.row()).row; }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    struct Entry
    {
        int row;
        Change change;
    };
    const FeedDocument &m_document;
    QVector<Entry> m_entries;
};
