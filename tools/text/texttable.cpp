// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "texttable.h"

#include <algorithm>
#include <iterator>

// Characters that take two columns: the blocks of East Asian writing and pictures. What is not assigned yet counts with its
// neighbours. wcwidth() knows them only in a UTF-8 locale.
static bool isWide(uint c)
{
    struct Range
    {
        uint first;
        uint last;
    };
    static constexpr Range ranges[] = {
        {0x1100, 0x115f},   {0x231a, 0x231b},   {0x2e80, 0x303e},   {0x3041, 0x4dbf},
        {0x4e00, 0xa4cf},   {0xa960, 0xa97f},   {0xac00, 0xd7a3},   {0xf900, 0xfaff},
        {0xfe30, 0xfe6f},   {0xff01, 0xff60},   {0xffe0, 0xffe6},   {0x1b000, 0x1b2ff},
        {0x1f300, 0x1f64f}, {0x1f680, 0x1f6ff}, {0x1f900, 0x1faff}, {0x20000, 0x3fffd},
    };
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [c](const Range &range) { return c >= range.first && c <= range.last; });
}

static int widthOf(uint c)
{
    switch (QChar::category(c)) {
    case QChar::Mark_NonSpacing:
    case QChar::Mark_Enclosing:
    case QChar::Other_Format:
        return 0;
    default:
        return isWide(c) ? 2 : 1;
    }
}

int TextTable::width(const QString &text)
{
    int width = 0;
    const QVector<uint> characters = text.toUcs4();
    for (const uint c : characters)
        width += widthOf(c);
    return width;
}

QString TextTable::line(const QStringList &cells) const
{
    QString line;
    for (int i = 0; i < cells.size(); ++i) {
        line += cells.at(i);
        if (i + 1 < cells.size())
            line += QString(std::max(m_widths.value(i) - width(cells.at(i)), 0) + m_gap, QLatin1Char(' '));
    }
    while (line.endsWith(QLatin1Char(' ')))
        line.chop(1);
    return line;
}

void TextTable::add(const QStringList &cells)
{
    m_rows << cells;
    m_widths.resize(std::max(m_widths.size(), cells.size()));
    for (int i = 0; i + 1 < cells.size(); ++i)
        m_widths[i] = std::max(m_widths.at(i), width(cells.at(i)));
}

QStringList TextTable::lines() const
{
    QStringList lines;
    lines.reserve(m_rows.size());
    for (const QStringList &row : m_rows)
        lines << line(row);
    return lines;
}
