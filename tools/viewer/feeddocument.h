// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "feed/feedline.h"
#include "store/storecopy.h"

#include <QtCore/QCache>
#include <QtCore/QFile>
#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QSharedPointer>
#include <QtCore/QThread>

#include <deque>
#include <vector>

/// Everything stored at one moment, by the number of the database.
using Stores = QMap<int, StoreCopy>;

/// One line of a feed and what came of it. The text stays in the file: a feed may have millions of lines.
struct FeedRow
{
    enum Flag {
        Decision = 1,       ///< Decides what is shown.
        ChangesShown = 2,   ///< Has changed what is shown.
        Critical = 4,       ///< Has logged a critical line.
        Different = 8,      ///< Answers, logs or emits something else than is recorded.
        Bad = 16,           ///< Could not be played: see FeedDocument::report().
        Conflict = 32,      ///< Overlaps with a call of another thread that must not run beside it.
        Closes = 64,        ///< Has closed its database.
        Destroys = 128,     ///< Has destroyed it.
        DecidesAll = 256,   ///< Has decided upon every pool.
        WritesHidden = 512, ///< Has written what a decision writes.
        Unfinished = 1024,  ///< Calls that had not returned when the program was ended.
        Problem = Critical | Different | Bad | Conflict | Unfinished
    };
    qint64 offset = 0; ///< In the file.
    int size = 0;
    int line = 0; ///< From 1.
    int database = 1;
    int firstChange = 0;
    int firstLog = 0;
    quint16 flags = 0;
    FeedLine::Kind kind = FeedLine::Blank;
    QString answer; ///< JSON, shortened; null if there is none.
};

/// What is loaded at a time.
struct FeedBatch
{
    std::vector<FeedRow> rows;
    std::vector<Change> changes;
    std::vector<QString> logs;
    QHash<int, QString> reports;
    QMap<int, Stores> checkpoints;
    bool hasTimes = false;
    bool hasThreads = false;
    qint64 position = 0;
    qint64 size = 0;
    bool atEnd = false; ///< Of what the file holds now.
};
Q_DECLARE_METATYPE(QSharedPointer<FeedBatch>)

/// Reads and plays a feed on a thread of its own, so that a window does not wait for it. Nothing is played twice: a
/// moment is put together from what the player has found then.
class FeedLoader : public QThread
{
    Q_OBJECT

public:
    FeedLoader(const QString &fileName, bool follows, QObject *parent);
    ~FeedLoader() override;

    bool follows() const { return m_follows; }

Q_SIGNALS:
    void loaded(const QSharedPointer<FeedBatch> &batch);
    void failed(const QString &message);

    /// The file that is followed has become shorter: it is another one now.
    void replaced();

protected:
    void run() override;

private:
    const QString m_fileName;
    const bool m_follows;
};

/// A feed, line by line, with what came of each call. Rows are its lines without the empty ones.
class FeedDocument : public QObject
{
    Q_OBJECT

public:
    explicit FeedDocument(QObject *parent = nullptr);
    ~FeedDocument() override;

    /// Begins to load a file in the place of the one before. A file that cannot be read leaves that as it is and ends in
    /// failed(). One that is followed is played on as it grows.
    void open(const QString &fileName, bool follows = false);

    /// Stops loading and following. What is loaded stays.
    void stop();

    QString fileName() const { return m_fileName; }
    bool isLoading() const { return m_isLoading; }
    bool isFollowing() const { return m_loader && m_loader->follows(); }

    /// Whether the lines so far say when and on which thread the calls were made.
    bool hasTimes() const { return m_hasTimes; }
    bool hasThreads() const { return m_hasThreads; }

    int rowCount() const { return int(m_rows.size()); }
    const FeedRow &row(int row) const { return m_rows[size_t(row)]; }

    /// The line itself, read from the file.
    FeedLine line(int row) const;
    QString text(int row) const;

    QStringList log(int row) const;
    QVector<Change> changes(int row) const;

    /// One past the last change of the row, whose first one is FeedRow::firstChange.
    int endOfChanges(int row) const { return end(&FeedRow::firstChange, row, m_changes.size()); }

    /// What is wrong with the line, or different from what is recorded; one report a line.
    QString report(int row) const { return m_reports.value(row); }

    /// The row of a line of the file, or the one before it; -1 if there is none.
    int rowOfLine(int line) const;

    /// The next row after \a row, or the last one before it, that has one of \a flags; -1 if there is none.
    int find(int row, int flags, bool forward) const;

    /// The next or previous call; -1 if there is none.
    int findCall(int row, bool forward) const;

    /// Takes \a stores from the moment after row \a from to that after row \a to; from -1 is before the first row.
    void move(Stores &stores, int from, int to) const;

Q_SIGNALS:
    void aboutToReset();
    void reset();
    void aboutToAppend(int count);
    void appended(int first, int count);
    void progressed(qint64 position, qint64 size);

    /// All that the file holds is loaded, or loading was stopped.
    void loaded();
    void failed(const QString &message);

private:
    void start(const QString &fileName, bool follows);
    void append(const QSharedPointer<FeedBatch> &batch);
    void clear();
    int end(int FeedRow::*first, int row, size_t all) const;

    QString m_fileName;
    FeedLoader *m_loader = nullptr;
    bool m_isLoading = false;
    bool m_hasTimes = false;
    bool m_hasThreads = false;
    bool m_isFresh = false; // nothing of the file being loaded is here yet

    std::vector<FeedRow> m_rows;
    std::deque<Change> m_changes;
    std::deque<QString> m_logs;
    QHash<int, QString> m_reports;
    QMap<int, Stores> m_checkpoints; // after a row

    mutable QFile m_file;
    mutable QCache<int, FeedLine> m_lines;
};
