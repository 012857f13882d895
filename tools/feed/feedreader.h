// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "feedline.h"

#include <QtCore/QByteArray>

class QIODevice;

/// Reads a feed line by line, in memory for its longest line. A byte order mark and CRLF are accepted.
class FeedReader
{
public:
    static constexpr int maxLineSize = 64 << 20;

    explicit FeedReader(QIODevice &device)
        : m_device(device)
    {}

    /// Reads the next line. False at the end: what stands there without the end of a line is a line, too, unless the
    /// feed still \a grows, when it is kept for the next call. A line over maxLineSize is invalid, and skipped.
    bool next(FeedLine &line, bool grows = false);

    /// The number of the line just read, from 1.
    qint64 lineNumber() const { return m_lineNumber; }

    /// How many bytes the lines read so far take.
    qint64 position() const { return m_position; }

    /// Whether the line just read is the last one of a recording and was cut off in the middle. It is invalid then, but
    /// no fault of the feed's: the client was killed while it was written.
    bool isCutOff() const { return m_cutOff; }

private:
    bool fill();
    int endOfLine() const;

    QIODevice &m_device;
    QByteArray m_buffer;
    int m_begin = 0;    // of the next line in the buffer
    int m_searched = 0; // up to where there is no end of it
    qint64 m_lineNumber = 0;
    qint64 m_position = 0;
    bool m_tooLong = false;
    bool m_isRecording = false;
    bool m_cutOff = false;
};
