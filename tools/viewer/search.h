// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QObject>
#include <QtCore/QTimer>

class FeedDocument;

/// Looks for a text in the calls of a feed, a little at a time, so that a window does not wait for it.
class Search : public QObject
{
    Q_OBJECT

public:
    explicit Search(const FeedDocument &document, QObject *parent = nullptr);

    /// Looks for \a text in what the lines say, as they stand in the file and with key names, and in their log lines, upper
    /// and lower case alike. Begins beside \a row and comes back to it from the other end.
    void start(const QString &text, int row, bool forward);
    void stop() { m_timer.stop(); }
    bool isRunning() const { return m_timer.isActive(); }

Q_SIGNALS:
    void found(int row);
    void notFound();

private:
    void step();
    bool matches(int row) const;

    const FeedDocument &m_document;
    QTimer m_timer;
    QString m_text;
    int m_row = 0;
    int m_left = 0; // to look at
    bool m_forward = true;
};
