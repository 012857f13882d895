// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "feeddocument.h"

#include "feed/feedreader.h"
#include "feed/json.h"
#include "operations/operations.h"
#include "store/feedplayer.h"
#include "text/checktext.h"
#include "text/describe.h"
#include "threads/overlaps.h"

#include "rules/visibility_p.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QSet>

#include <algorithm>

namespace {

// Every text that is kept, once: a feed says the same few things again and again.
class Texts
{
public:
    void share(QString &text)
    {
        constexpr int longest = 200;
        if (!text.isEmpty() && text.size() <= longest)
            text = *m_texts.insert(text);
    }

private:
    QSet<QString> m_texts;
};

// Whether a user would see it: a pool that the library has shown or hidden, or a shown one that is gone.
bool changesShown(const Change &change, const StoreCopy &before)
{
    if (change.table != Change::Pools || change.item)
        return false;
    if (change.kind == Change::Removed)
        return Rules::visibilityOf(before.pools.value(change.id).values.value(VdiVM::HiddenKey)) ==
               Rules::Visibility::Shown;
    return change.kind == Change::Value && change.key == VdiVM::HiddenKey;
}

// Plays lines into batches.
class Loading
{
public:
    explicit Loading(FeedReader &reader)
        : m_reader(reader)
    {}

    void add(const FeedLine &line, qint64 offset);
    QSharedPointer<FeedBatch> take();

private:
    void play(FeedRow &row, const FeedLine &line);
    void checkpoint();
    void report(const QString &text);

    FeedReader &m_reader;
    FeedPlayer m_player{FeedPlayer::FollowsChanges};
    Check m_check;
    Overlaps m_overlaps;
    Texts m_texts;
    QSharedPointer<FeedBatch> m_batch = QSharedPointer<FeedBatch>::create();
    int m_rows = 0;
    int m_changes = 0;
    int m_logs = 0;
    int m_nextCheckpoint = 0;
    bool m_hasThreads = false;
};

void Loading::report(const QString &text)
{
    QString &reports = m_batch->reports[m_rows]; // clazy:exclude=detaching-member (writes)
    if (!reports.isEmpty())
        reports += QLatin1Char('\n');
    reports += text;
}

void Loading::play(FeedRow &row, const FeedLine &line)
{
    // Only removals need to know what was there; a copy costs nothing but the next change.
    StoreCopy before;
    const Call call(line.call);
    if (call.has(Operation::Removes))
        before = m_player.stored(line.database);
    Outcome outcome = m_player.play(line);
    row.database = line.database;
    // Calls without a thread overlap with none; following them is a fifth of the price of a line.
    m_hasThreads = m_hasThreads || !line.thread.isEmpty();
    const QStringList conflicts = m_hasThreads ? m_overlaps.next(line, m_reader.lineNumber()) : QStringList();
    if (!conflicts.isEmpty()) {
        row.flags |= FeedRow::Conflict;
        report(conflicts.join(QLatin1Char('\n')));
    }
    const QVector<Difference> differences = m_check.compare(line, outcome);
    if (!outcome.error.isEmpty()) {
        row.flags |= FeedRow::Bad;
        report(outcome.error);
        return;
    }
    if (!differences.isEmpty()) {
        row.flags |= FeedRow::Different;
        for (const Difference &difference : differences)
            report(toText(difference));
    }
    if (call.has(Operation::Decides))
        row.flags |= FeedRow::Decision;
    if (call.has(Operation::Decides) && call.subject() == Operation::AboutPools)
        row.flags |= FeedRow::DecidesAll;
    if (call.has(Operation::Writes) && call.isOfPool() && call.key() == VdiVM::HiddenKey)
        row.flags |= FeedRow::WritesHidden;
    if (call.has(Operation::Closes))
        row.flags |= call.operation()->life == Operation::Destructor ? FeedRow::Destroys : FeedRow::Closes;
    if (!outcome.answer.isUndefined()) {
        row.answer = shortJson(outcome.answer);
        m_texts.share(row.answer);
    }
    for (QString &text : outcome.log) {
        if (text.startsWith(QLatin1String("critical: ")))
            row.flags |= FeedRow::Critical;
        m_texts.share(text);
        m_batch->logs.push_back(text);
    }
    m_logs += outcome.log.size();
    for (Change &change : outcome.changes) {
        if (changesShown(change, before))
            row.flags |= FeedRow::ChangesShown;
        m_texts.share(change.id);
        if (change.before)
            m_texts.share(*change.before);
        m_texts.share(change.after);
        if (change.item)
            m_texts.share(*change.item);
        m_batch->changes.push_back(std::move(change));
    }
    m_changes += outcome.changes.size();
}

// A moment is at most as many changes away from a checkpoint as there are records, and never far: so checkpoints take no
// more memory than the changes do.
void Loading::checkpoint()
{
    constexpr int least = 4096;
    if (m_changes < m_nextCheckpoint)
        return;
    int records = 0;
    Stores stores;
    const QList<int> databases = m_player.databases();
    for (const int number : databases) {
        const StoreCopy &stored = m_player.stored(number);
        stores.insert(number, stored);
        records += stored.pools.size() + stored.remoteApps.size() + stored.saasApps.size();
        for (const StoreCopy::Pool &pool : stored.pools)
            records += pool.items.size();
    }
    m_batch->checkpoints.insert(m_rows, stores);
    m_nextCheckpoint = m_changes + std::max(least, records);
}

void Loading::add(const FeedLine &line, qint64 offset)
{
    FeedRow row;
    row.offset = offset;
    row.size = int(std::min<qint64>(m_reader.position() - offset, FeedReader::maxLineSize));
    constexpr int lineEnd = 2; // CRLF
    if (line.kind == FeedLine::Blank && row.size <= lineEnd)
        return;
    row.line = int(m_reader.lineNumber());
    row.kind = line.kind;
    row.firstChange = m_changes;
    row.firstLog = m_logs;
    if (line.kind == FeedLine::Call) {
        play(row, line);
        m_batch->hasTimes = m_batch->hasTimes || line.at;
        m_batch->hasThreads = m_hasThreads;
    } else if (m_reader.isCutOff()) {
        report(FeedDocument::tr("The last line is cut off, left out"));
    } else if (line.kind == FeedLine::Invalid) {
        row.flags |= FeedRow::Bad;
        report(line.column > 0 ? QStringLiteral("column %1: %2").arg(line.column).arg(line.error) : line.error);
    } else {
        m_player.play(line);
        m_check.compare(line, {});
        const QString conflict = line.about.value(QLatin1String("threads")).toString(); // found while it was recorded
        if (!conflict.isEmpty()) {
            row.flags |= FeedRow::Conflict;
            report(conflict);
        }
        if (line.kind == FeedLine::Unfinished) {
            row.flags |= FeedRow::Unfinished;
            report(FeedDocument::tr("Did not return: %1").arg(describeUnfinished(line.about)));
        }
    }
    m_batch->rows.push_back(std::move(row));
    checkpoint();
    ++m_rows;
}

QSharedPointer<FeedBatch> Loading::take()
{
    m_batch->position = m_reader.position();
    return std::exchange(m_batch, QSharedPointer<FeedBatch>::create());
}

} // namespace

FeedLoader::FeedLoader(const QString &fileName, bool follows, QObject *parent)
    : QThread(parent)
    , m_fileName(fileName)
    , m_follows(follows)
{
    qRegisterMetaType<QSharedPointer<FeedBatch>>();
}

FeedLoader::~FeedLoader()
{
    requestInterruption();
    wait();
}

void FeedLoader::run()
{
    constexpr int batchTime = 100; // milliseconds; what a person takes for at once
    QFile file(m_fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        Q_EMIT failed(file.errorString());
        return;
    }
    if (file.isSequential()) {
        Q_EMIT failed(tr("it is not a file that can be read again; save it to one first"));
        return;
    }
    FeedReader reader(file);
    Loading loading(reader);
    QElapsedTimer time;
    time.start();
    const auto send = [&](bool atEnd) {
        const QSharedPointer<FeedBatch> batch = loading.take();
        batch->size = file.size();
        batch->atEnd = atEnd;
        Q_EMIT loaded(batch);
        time.restart();
    };
    FeedLine line;
    while (!isInterruptionRequested()) {
        const qint64 offset = reader.position();
        if (reader.next(line, m_follows)) {
            loading.add(line, offset);
            if ((reader.lineNumber() & 63) == 0 && time.hasExpired(batchTime))
                send(false);
            continue;
        }
        if (file.error() != QFile::NoError) {
            Q_EMIT failed(file.errorString());
            return;
        }
        send(true);
        if (!m_follows)
            return;
        msleep(batchTime);
        if (file.size() < reader.position()) {
            Q_EMIT replaced();
            return;
        }
    }
}

FeedDocument::FeedDocument(QObject *parent)
    : QObject(parent)
    , m_lines(1000)
{}

FeedDocument::~FeedDocument() = default;

void FeedDocument::open(const QString &fileName, bool follows)
{
    m_isLoading = false; // nobody waits for the one before
    stop();
    start(fileName, follows);
}

void FeedDocument::start(const QString &fileName, bool follows)
{
    m_isLoading = true;
    m_isFresh = true;
    m_loader = new FeedLoader(fileName, follows, this);
    // A loader that was stopped may have sent something on its way.
    const auto isCurrent = [this, loader = m_loader] { return loader == m_loader; };
    connect(m_loader, &FeedLoader::loaded, this, [=](const QSharedPointer<FeedBatch> &batch) {
        if (!isCurrent())
            return;
        if (std::exchange(m_isFresh, false)) {
            Q_EMIT aboutToReset();
            clear();
            m_fileName = fileName;
            m_file.setFileName(fileName);
            m_file.open(QIODevice::ReadOnly);
            Q_EMIT reset();
        }
        append(batch);
    });
    connect(m_loader, &FeedLoader::failed, this, [=](const QString &message) {
        if (!isCurrent())
            return;
        stop();
        Q_EMIT failed(QStringLiteral("%1: %2").arg(fileName, message));
    });
    connect(m_loader, &FeedLoader::replaced, this, [=] {
        if (isCurrent())
            open(fileName, follows);
    });
    m_loader->start(QThread::LowPriority);
}

void FeedDocument::stop()
{
    if (FeedLoader *loader = std::exchange(m_loader, nullptr)) {
        loader->requestInterruption();
        loader->wait();
        loader->deleteLater();
    }
    if (std::exchange(m_isLoading, false))
        Q_EMIT loaded();
}

void FeedDocument::clear()
{
    m_rows.clear();
    m_changes.clear();
    m_logs.clear();
    m_reports.clear();
    m_checkpoints.clear();
    m_lines.clear();
    m_file.close();
    m_hasTimes = m_hasThreads = false;
}

void FeedDocument::append(const QSharedPointer<FeedBatch> &batch)
{
    const int count = int(batch->rows.size());
    if (count > 0) {
        const int first = rowCount();
        m_hasTimes = m_hasTimes || batch->hasTimes;
        m_hasThreads = m_hasThreads || batch->hasThreads;
        Q_EMIT aboutToAppend(count);
        std::move(batch->rows.begin(), batch->rows.end(), std::back_inserter(m_rows));
        std::move(batch->changes.begin(), batch->changes.end(), std::back_inserter(m_changes));
        std::move(batch->logs.begin(), batch->logs.end(), std::back_inserter(m_logs));
        for (auto it = batch->reports.cbegin(); it != batch->reports.cend(); ++it)
            m_reports.insert(it.key(), it.value());
        for (auto it = batch->checkpoints.cbegin(); it != batch->checkpoints.cend(); ++it)
            m_checkpoints.insert(it.key(), it.value());
        Q_EMIT appended(first, count);
    }
    Q_EMIT progressed(batch->position, batch->size);
    if (batch->atEnd && std::exchange(m_isLoading, false))
        Q_EMIT loaded();
}

QString FeedDocument::text(int row) const
{
    const FeedRow &place = this->row(row);
    if (!m_file.seek(place.offset))
        return {};
    return QString::fromUtf8(m_file.read(place.size)).trimmed();
}

FeedLine FeedDocument::line(int row) const
{
    if (const FeedLine *line = m_lines.object(row))
        return *line;
    FeedLine line = parseLine(text(row).toUtf8());
    m_lines.insert(row, new FeedLine(line));
    return line;
}

int FeedDocument::end(int FeedRow::*first, int row, size_t all) const
{
    return row + 1 < rowCount() ? this->row(row + 1).*first : int(all);
}

QStringList FeedDocument::log(int row) const
{
    QStringList log;
    const int last = end(&FeedRow::firstLog, row, m_logs.size());
    log.reserve(last - this->row(row).firstLog);
    for (int i = this->row(row).firstLog; i < last; ++i)
        log << m_logs[size_t(i)];
    return log;
}

QVector<Change> FeedDocument::changes(int row) const
{
    QVector<Change> changes;
    changes.reserve(endOfChanges(row) - this->row(row).firstChange);
    for (int i = this->row(row).firstChange; i < endOfChanges(row); ++i)
        changes << m_changes[size_t(i)];
    return changes;
}

int FeedDocument::rowOfLine(int line) const
{
    const auto it = std::upper_bound(m_rows.begin(), m_rows.end(), line,
                                     [](int number, const FeedRow &row) { return number < row.line; });
    return int(it - m_rows.begin()) - 1;
}

template <typename Test>
static int findRow(int row, int count, bool forward, Test test)
{
    const int step = forward ? 1 : -1;
    for (row += step; row >= 0 && row < count; row += step) {
        if (test(row))
            return row;
    }
    return -1;
}

int FeedDocument::find(int row, int flags, bool forward) const
{
    return findRow(row, rowCount(), forward, [&](int i) { return (this->row(i).flags & flags) != 0; });
}

int FeedDocument::findCall(int row, bool forward) const
{
    return findRow(row, rowCount(), forward, [&](int i) { return this->row(i).kind == FeedLine::Call; });
}

void FeedDocument::move(Stores &stores, int from, int to) const
{
    const auto next = m_checkpoints.upperBound(to);
    const int checkpoint = next == m_checkpoints.cbegin() ? -1 : std::prev(next).key();
    if (to < from || checkpoint > from) {
        stores = m_checkpoints.value(checkpoint);
        from = checkpoint;
    }
    for (int i = from + 1; i <= to; ++i) {
        const FeedRow &row = this->row(i);
        if (row.kind == FeedLine::Case)
            stores.clear();
        if (row.kind != FeedLine::Call)
            continue;
        StoreCopy &store = stores[row.database];
        for (int j = row.firstChange; j < endOfChanges(i); ++j)
            store.apply(m_changes[size_t(j)]);
        if (row.flags & FeedRow::Closes)
            store.isClosed = true;
        if (row.flags & FeedRow::Destroys)
            stores.remove(row.database);
    }
}
