// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "moment.h"

Moment::Moment(const FeedDocument &document, QObject *parent)
    : QObject(parent)
    , m_document(document)
{
    connect(&document, &FeedDocument::reset, this, [this] {
        m_row = -1;
        m_database = 1;
        m_stores.clear();
        m_before = m_after = {};
        Q_EMIT moved();
    });
}

void Moment::moveTo(int row)
{
    row = qBound(-1, row, m_document.rowCount() - 1);
    if (row == m_row)
        return;
    if (row > m_row + 1 || row < m_row)
        m_document.move(m_stores, std::exchange(m_row, row - 1), row - 1);
    const FeedRow *line = row >= 0 ? &m_document.row(row) : nullptr;
    // Comments and the like are about the database of the call before.
    m_database = line && line->kind == FeedLine::Call ? line->database : row >= 0 ? m_database : 1;
    m_before = m_stores.value(m_database);
    m_document.move(m_stores, row - 1, row);
    m_row = row;
    m_after = m_stores.value(m_database);
    Q_EMIT moved();
}

QVector<Change> Moment::changes() const
{
    return m_row < 0 ? QVector<Change>() : m_document.changes(m_row);
}
