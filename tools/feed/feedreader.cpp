// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "feedreader.h"

#include <QtCore/QIODevice>

#include <cstring>

static constexpr int chunkSize = 1 << 18;

// Reads some more; false if there is no more now.
bool FeedReader::fill()
{
    m_buffer.remove(0, m_begin);
    m_searched -= m_begin;
    m_begin = 0;
    const QByteArray read = m_device.read(chunkSize);
    m_buffer += read;
    return !read.isEmpty();
}

// QByteArray::indexOf() looks at one byte after the other.
int FeedReader::endOfLine() const
{
    const char *const begin = m_buffer.constData();
    const void *end = std::memchr(begin + m_searched, '\n', size_t(m_buffer.size() - m_searched));
    return end ? int(static_cast<const char *>(end) - begin) : -1;
}

bool FeedReader::next(FeedLine &line, bool grows)
{
    int end = 0;
    while ((end = endOfLine()) < 0) {
        m_searched = m_buffer.size();
        if (m_searched - m_begin > maxLineSize) {
            // The rest of it is not kept.
            m_tooLong = true;
            m_position += m_searched - m_begin;
            m_begin = m_searched;
        }
        if (fill())
            continue;
        if (grows || (m_begin == m_buffer.size() && !m_tooLong))
            return false;
        end = m_buffer.size();
        break;
    }
    const bool isWhole = end < m_buffer.size();
    ++m_lineNumber;
    if (m_tooLong || end - m_begin > maxLineSize) {
        m_tooLong = false;
        line = {};
        line.kind = FeedLine::Invalid;
        line.error = QStringLiteral("a line of more than 64 MiB, expected a shorter one");
    } else {
        static const QByteArray byteOrderMark("\xef\xbb\xbf");
        int begin = m_begin;
        if (m_lineNumber == 1 && m_buffer.mid(begin, 3) == byteOrderMark)
            begin += 3;
        line = parseLine(QByteArray::fromRawData(m_buffer.constData() + begin, end - begin));
    }
    m_isRecording = m_isRecording || (line.kind == FeedLine::About && line.about.contains(QLatin1String("recorded")));
    m_cutOff = !isWhole && m_isRecording && line.kind == FeedLine::Invalid;
    m_position += end + int(isWhole) - m_begin;
    m_begin = m_searched = end + int(isWhole);
    return true;
}
