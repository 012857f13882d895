// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "search.h"

#include "callsmodel.h"
#include "feeddocument.h"

#include <QtCore/QElapsedTimer>

Search::Search(const FeedDocument &document, QObject *parent)
    : QObject(parent)
    , m_document(document)
{
    connect(&m_timer, &QTimer::timeout, this, &Search::step);
    connect(&document, &FeedDocument::aboutToReset, this, &Search::stop);
}

void Search::start(const QString &text, int row, bool forward)
{
    m_text = text;
    m_row = row;
    m_left = text.isEmpty() ? 0 : m_document.rowCount();
    m_forward = forward;
    m_timer.start(0);
}

bool Search::matches(int row) const
{
    if (m_document.text(row).contains(m_text, Qt::CaseInsensitive) ||
        CallsModel::describe(m_document, row).contains(m_text, Qt::CaseInsensitive))
        return true;
    return !m_document.log(row).filter(m_text, Qt::CaseInsensitive).isEmpty();
}

void Search::step()
{
    constexpr int most = 15; // milliseconds; a window that is drawn 60 times a second does not miss one
    QElapsedTimer time;
    time.start();
    const int count = m_document.rowCount();
    while (m_left > 0 && !time.hasExpired(most)) {
        --m_left;
        m_row = m_forward ? m_row + 1 : m_row - 1;
        if (m_row < 0 || m_row >= count)
            m_row = m_forward ? 0 : count - 1;
        if (matches(m_row)) {
            stop();
            Q_EMIT found(m_row);
            return;
        }
    }
    if (m_left == 0) {
        stop();
        Q_EMIT notFound();
    }
}
