// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// Plays recorded feeds through the library and prints what it answers and what a user would be shown.

#include "feed/feedplayer.h"
#include "feed/feedreader.h"
#include "feed/json.h"
#include "tree.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>

static bool logEverything = false;

static void writeLog(const QString &line)
{
    if (logEverything || !line.startsWith(QLatin1String("info: ")))
        std::fprintf(stderr, "%s\n", qUtf8Printable(line));
}

static void print(const QString &line)
{
    const QByteArray bytes = line.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

// Tells on a terminal how far a long feed has come.
class Progress
{
public:
    void advance(qint64 calls)
    {
        if (!m_isTerminal || m_timer.elapsed() < m_next)
            return;
        m_next = m_timer.elapsed() + 200;
        m_shown = true;
        std::fprintf(stderr, "\r%lld calls", static_cast<long long>(calls));
    }

    void finish()
    {
        if (m_shown)
            std::fputs("\r\033[K", stderr);
        m_shown = false;
    }

private:
    bool m_isTerminal = isatty(STDERR_FILENO) == 1;
    bool m_shown = false;
    qint64 m_next = 1000;
    QElapsedTimer m_timer = [] {
        QElapsedTimer timer;
        timer.start();
        return timer;
    }();
};

class Replay
{
public:
    Replay() { m_timer.start(); }
    bool playFiles(const QStringList &names);
    void printTree();
    void printStats();

    bool json = false;
    bool quiet = false;
    bool strict = false;

private:
    bool playFile(const QString &name);
    bool playLine(const FeedLine &line);
    void printAnswer(const FeedLine &line, const QJsonValue &answer);
    void printSignal(const QString &name);
    void report(const QString &error);

    FeedPlayer m_player;
    Progress m_progress;
    QElapsedTimer m_timer;
    QString m_file;
    qint64 m_line = 0;
    qint64 m_calls = 0;
};

void Replay::report(const QString &error)
{
    m_progress.finish();
    std::fflush(stdout); // so that both streams tell the same order
    std::fprintf(stderr, "%s:%lld: %s\n", qUtf8Printable(m_file), static_cast<long long>(m_line),
                 qUtf8Printable(error));
}

void Replay::printAnswer(const FeedLine &line, const QJsonValue &answer)
{
    if (quiet || answer.isUndefined())
        return;
    if (json)
        print(compactJson(QJsonObject{{QStringLiteral("line"), m_line},
                                      {QStringLiteral("operation"), line.operation()},
                                      {QStringLiteral("answer"), answer}}) +
              QLatin1Char('\n'));
    else
        print(QString::number(m_line) + QLatin1Char(' ') + line.operation() + QStringLiteral(" -> ") +
              compactJson(answer) + QLatin1Char('\n'));
}

void Replay::printSignal(const QString &name)
{
    if (quiet)
        return;
    if (json)
        print(QStringLiteral("{\"line\":%1,\"signal\":\"%2\"}\n").arg(m_line).arg(name));
    else
        print(QStringLiteral("%1 %2\n").arg(m_line).arg(name));
}

bool Replay::playLine(const FeedLine &line)
{
    const Outcome outcome = m_player.play(line);
    for (const QString &text : outcome.log)
        writeLog(text);
    if (!outcome.error.isEmpty()) {
        report(outcome.error);
        return false;
    }
    if (line.kind == FeedLine::Call)
        m_progress.advance(++m_calls);
    for (const QString &name : outcome.emitted)
        printSignal(name);
    printAnswer(line, outcome.answer);
    return true;
}

bool Replay::playFile(const QString &name)
{
    m_file = name;
    m_line = 0;
    QFile file(name);
    const bool isOpen =
        name == QLatin1String("-") ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    bool good = true;
    FeedReader reader(file);
    FeedLine line;
    while (isOpen && (good || !strict) && reader.next(line)) {
        m_line = reader.lineNumber();
        good = playLine(line) && good;
    }
    if (file.error() != QFileDevice::NoError) {
        report(QStringLiteral("%1, expected a readable file").arg(file.errorString()));
        return false;
    }
    return good;
}

bool Replay::playFiles(const QStringList &names)
{
    bool good = true;
    for (const QString &name : names) {
        good = playFile(name) && good;
        if (!good && strict)
            break;
    }
    m_progress.finish();
    return good;
}

void Replay::printTree()
{
    const QJsonObject tree = readTree(m_player);
    if (json)
        print(compactJson(QJsonObject{{QStringLiteral("tree"), tree}}) + QLatin1Char('\n'));
    else
        print(drawTree(tree, m_player));
}

void Replay::printStats()
{
    const double seconds = double(m_timer.nsecsElapsed()) / 1e9;
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const double peakMegabytes = double(usage.ru_maxrss) / 1024;
    if (json) {
        const QJsonObject stats{{QStringLiteral("calls"), m_calls},
                                {QStringLiteral("seconds"), seconds},
                                {QStringLiteral("callsPerSecond"), double(m_calls) / seconds},
                                {QStringLiteral("peakMegabytes"), peakMegabytes}};
        print(compactJson(QJsonObject{{QStringLiteral("stats"), stats}}) + QLatin1Char('\n'));
    } else {
        print(QStringLiteral("%1 calls in %2 s, %3 calls/s, peak memory %4 MB\n")
                  .arg(m_calls)
                  .arg(seconds, 0, 'f', 3)
                  .arg(double(m_calls) / seconds, 0, 'f', 0)
                  .arg(peakMegabytes, 0, 'f', 1));
    }
}

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vmdatabase-replay"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VMDATABASE_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Plays feeds through the VM database and prints what it answers and what a user would be shown.\n"
        "A feed has one call a line: [\"operation\", argument, ...]; lines that begin with # are skipped."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption log(
        QStringLiteral("log"),
        QStringLiteral("Write all of the library's log lines to standard error, not only the critical ones."));
    const QCommandLineOption noTree(QStringLiteral("no-tree"),
                                    QStringLiteral("Do not print what is stored in the end."));
    const QCommandLineOption quiet(QStringLiteral("quiet"), QStringLiteral("Do not print answers and signals."));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Print JSON, one object a line, for scripts."));
    const QCommandLineOption stats(
        QStringLiteral("stats"), QStringLiteral("Print the number of calls, the time they took and the peak memory."));
    const QCommandLineOption strict(QStringLiteral("strict"),
                                    QStringLiteral("Stop at the first line that is not a good call."));
    parser.addOptions({log, noTree, quiet, json, stats, strict});
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The feeds to play, - for standard input."),
                                 QStringLiteral("FILE..."));
    parser.process(app);
    if (parser.positionalArguments().isEmpty())
        parser.showHelp(EXIT_FAILURE);

    logEverything = parser.isSet(log);
    Replay replay;
    replay.json = parser.isSet(json);
    replay.quiet = parser.isSet(quiet);
    replay.strict = parser.isSet(strict);
    const bool good = replay.playFiles(parser.positionalArguments());
    if (!parser.isSet(noTree) && (good || !replay.strict))
        replay.printTree();
    if (parser.isSet(stats))
        replay.printStats();
    if (std::fflush(stdout) != 0) {
        std::perror("vmdatabase-replay: standard output");
        return EXIT_FAILURE;
    }
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
