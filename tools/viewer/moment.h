// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "feeddocument.h"

#include <QtCore/QObject>

/// The moment after one row of a feed. Going back is like going forward: from the checkpoint before it.
class Moment : public QObject
{
    Q_OBJECT

public:
    explicit Moment(const FeedDocument &document, QObject *parent = nullptr);

    /// The row; -1 is the beginning, where nothing is stored.
    int row() const { return m_row; }

    /// Goes to a row, or to the last one if there are not as many.
    void moveTo(int row);

    /// The database of the row's call, before and after it.
    const StoreCopy &before() const { return m_before; }
    const StoreCopy &after() const { return m_after; }
    QVector<Change> changes() const;

Q_SIGNALS:
    void moved();

private:
    const FeedDocument &m_document;
    int m_row = -1;
    int m_database = 1;
    Stores m_stores;
    StoreCopy m_before;
    StoreCopy m_after;
};
