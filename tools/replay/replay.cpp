// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "replay.h"

#include "feed/feedreader.h"
#include "inputfile.h"

#include <QtCore/QThread>

#include <sys/resource.h>
#include <unistd.h>

// A person who types lines sees each answer at once.
static bool isTyped(const Options &options)
{
    return options.files.contains(QStringLiteral("-")) && isatty(STDIN_FILENO) == 1;
}

static bool needChanges(const Options &options)
{
    return std::any_of(options.views.cbegin(), options.views.cend(),
                       [](const auto &view) { return view.first->needsChanges; });
}

Replay::Replay(const Options &options)
    : m_options(options)
    , m_progress((options.quiet || isatty(STDOUT_FILENO) != 1) && !isTyped(options))
    , m_player(needChanges(options) ? FeedPlayer::FollowsChanges : FeedPlayer::IgnoresChanges)
    , m_sink(options.json ? makeJsonSink() : makeTextSink())
{
    for (const auto &view : options.views)
        m_views.push_back(view.first->make({*m_sink, m_player}, view.second));
    m_timer.start();
}

bool Replay::run(const volatile int &isInterrupted)
{
    for (const QString &name : m_options.files) {
        const bool isLast = &name == &m_options.files.constLast();
        playFile(name, isLast ? m_options.until : 0, isInterrupted);
        if (isInterrupted || (!m_isGood && m_options.strict))
            break;
    }
    m_progress.hide();
    if (m_badLines > 1 || (m_badLines == 1 && m_options.follow))
        report(
            counted(m_badLines, QStringLiteral("line is not a good call"), QStringLiteral("lines are not good calls")));
    if (m_isReadable && (m_isGood || !m_options.strict)) {
        for (const auto &view : m_views)
            m_isGood = view->finish() && m_isGood;
    }
    if (m_options.stats)
        printStats();
    return m_isGood;
}

void Replay::playFile(const QString &name, qint64 until, const volatile int &isInterrupted)
{
    m_file = name;
    m_line = 0;
    m_case.clear();
    for (const auto &view : m_views)
        view->beginFeed();
    InputFile file(name);
    FeedReader reader(file);
    FeedLine line;
    if (m_options.follow && file.isGood())
        m_screen = std::make_unique<Screen>();
    while (file.isGood() && !isInterrupted && (until == 0 || m_line < until)) {
        const qint64 begin = m_timer.nsecsElapsed();
        const bool isRead = reader.next(line, m_options.follow);
        m_reading += m_timer.nsecsElapsed() - begin;
        if (!isRead && m_screen) {
            showScreen();
            QThread::msleep(100);
            continue;
        }
        if (!isRead || isInterrupted)
            break;
        m_line = reader.lineNumber();
        if (reader.isCutOff())
            report(QStringLiteral("%1:%2: warning: the last line is cut off, left out").arg(name).arg(m_line));
        else
            playLine(line);
        if (!m_isGood && m_options.strict)
            break;
    }
    m_screen.reset();
    m_isReadable = m_isReadable || file.isGood();
    if (!file.isGood()) {
        m_isGood = false;
        report(name + QStringLiteral(": ") + file.errorString());
    } else if (m_line < until && !isInterrupted && (m_isGood || !m_options.strict)) {
        m_isGood = false;
        report(QStringLiteral("%1: --until %2: the feed ends at line %3").arg(name).arg(until).arg(m_line));
    }
}

void Replay::playLine(const FeedLine &line)
{
    const Outcome outcome = m_player.play(line);
    if (line.kind == FeedLine::Case)
        m_case = line.about.value(QLatin1String("case")).toString();
    const Played played{{{m_file, m_line}, line, outcome, m_player.stored(line.database)}, m_case};
    if (!outcome.log.isEmpty())
        writeLog(played);
    if (!outcome.error.isEmpty())
        reportLine(line, outcome.error);
    if (line.kind == FeedLine::Call && outcome.error.isEmpty()) {
        m_calling += outcome.nanoseconds;
        m_progress.advance(++m_calls);
    }
    for (const auto &view : m_views)
        view->follow(played);
}

// What is stored now, unless nothing has happened.
void Replay::showScreen()
{
    if (m_shownCalls == m_calls)
        return;
    m_shownCalls = m_calls;
    const QString calls = counted(m_calls, QStringLiteral("call"), QStringLiteral("calls"));
    m_screen->show(QStringLiteral("%1: %2. Ctrl-C ends.\n").arg(m_file, calls) + drawTrees(m_player).trimmed());
}

void Replay::writeLog(const Played &played)
{
    if (m_screen)
        return;
    for (const QString &text : played.outcome.log) {
        if (!m_options.log && (m_options.check || text.startsWith(QLatin1String("info: "))))
            continue;
        m_progress.hide();
        report(toText(played.place) + QStringLiteral(": ") + text);
    }
}

void Replay::reportLine(const FeedLine &line, const QString &error)
{
    ++m_badLines;
    m_isGood = false;
    if (m_screen)
        return; // counted in the end
    m_progress.hide();
    const QString column = line.column > 0 ? QStringLiteral(":%1").arg(line.column) : QString();
    report(QStringLiteral("%1:%2%3: ").arg(m_file, QString::number(m_line), column) + error);
}

void Replay::printStats()
{
    const double all = double(m_timer.nsecsElapsed()) / 1e9;
    const double calling = double(m_calling) / 1e9;
    const double reading = double(m_reading) / 1e9;
    const double rest = all - calling - reading;
    const double microsecondsPerCall = m_calls > 0 ? calling * 1e6 / double(m_calls) : 0;
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const double peakMegabytes = double(usage.ru_maxrss) / 1024;
    if (m_options.json) {
        const QJsonObject stats{{QStringLiteral("calls"), m_calls},
                                {QStringLiteral("callSeconds"), calling},
                                {QStringLiteral("microsecondsPerCall"), microsecondsPerCall},
                                {QStringLiteral("readSeconds"), reading},
                                {QStringLiteral("otherSeconds"), rest},
                                {QStringLiteral("peakMegabytes"), peakMegabytes}};
        printLine({{QStringLiteral("stats"), stats}});
        return;
    }
    print(QStringLiteral("%1: %2 s in the library, %3 us each. Besides: %4 s reading, %5 s all else. "
                         "Peak memory: %6 MB.\n")
              .arg(counted(m_calls, QStringLiteral("call"), QStringLiteral("calls")))
              .arg(calling, 0, 'f', 3)
              .arg(microsecondsPerCall, 0, 'f', 2)
              .arg(reading, 0, 'f', 3)
              .arg(rest, 0, 'f', 3)
              .arg(peakMegabytes, 0, 'f', 1));
}
