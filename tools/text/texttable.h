// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QStringList>
#include <QtCore/QVector>

/// A table for a terminal. Columns are as wide as what stands in them, counted in the columns of a terminal: a Chinese or
/// Japanese character takes two, a combining one none. The last column has no width.
class TextTable
{
public:
    /// Columns are at least as wide as \a widths, of which there may be fewer, and \a gap apart.
    explicit TextTable(const QVector<int> &widths = {}, int gap = 2)
        : m_widths(widths)
        , m_gap(gap)
    {}

    /// A row in the columns as wide as they are now. A longer cell moves what follows it.
    QString line(const QStringList &cells) const;

    /// Makes columns wide enough for the row, which lines() has then.
    void add(const QStringList &cells);
    QStringList lines() const;

    /// How many columns of a terminal \a text takes.
    static int width(const QString &text);

private:
    QVector<int> m_widths;
    int m_gap;
    QVector<QStringList> m_rows;
};
