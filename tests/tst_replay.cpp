// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include "feed/check.h"
#include "feed/feedreader.h"
#include "feed/operations.h"

#include <QtCore/QBuffer>
#include <QtCore/QProcess>

#include <csignal>
#include <ctime>

class tst_Replay : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { runDeferredDeletions(); }

    void sessions_data();
    void sessions();
    void stats();
    void help();
    void interruption();
    void closedStreams();
    void alteredFeed();
    void documentedScenes();
    void anyText();
    void roundTrip();
    void reader();
    void removals();
};

struct Run
{
    QString out; // standard error, too: where a terminal shows both
    int status = -1;
};

// A class of its own makes Qt start programs by fork(): its newer way is unknown to the emulator that runs ARM builds.
class Process : public QProcess
{
};

static void start(QProcess &process, const QStringList &arguments)
{
    QStringList command = QStringLiteral(REPLAY_COMMAND).split(u'|') + arguments;
    command.removeAll(QString()); // there is no emulator where programs run as they are
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"ASAN_OPTIONS"_s, u"detect_leaks=0"_s); // the library's intended leaks
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(command.takeFirst(), command);
}

static Run finish(QProcess &process)
{
    process.closeWriteChannel();
    const bool finished = process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit;
    return {QString::fromUtf8(process.readAll()), finished ? process.exitCode() : -1};
}

static Run replay(const QStringList &arguments, const QByteArray &input = {})
{
    Process process;
    start(process, arguments);
    process.write(input);
    return finish(process);
}

/// "== name" begins a session with the program: its arguments ($), its input (<, the last line without its end if that
/// is a backslash), what it prints and reports, in that order, and its exit status (=) if that is not 0.
void tst_Replay::sessions_data()
{
    QTest::addColumn<QStringList>("lines");
    QFile file(QStringLiteral(TRANSCRIPTS_DIR "/replay.sessions"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QStringList sessions = (u"\n"_s + QString::fromUtf8(file.readAll())).split(u"\n== "_s).mid(1);
    for (const QString &text : sessions)
        QTest::newRow(text.section(u'\n', 0, 0).toUtf8().constData()) << text.section(u'\n', 1).split(u'\n');
}

void tst_Replay::sessions()
{
    QFETCH(QStringList, lines);
    QHash<QChar, QString> parts; // by the mark that a line begins with
    for (const QString &line : std::as_const(lines)) {
        const bool isMarked = QRegularExpression(u"^[$<=] "_s).match(line).hasMatch();
        parts[isMarked ? line[0] : u' '] += line.mid(isMarked ? 2 : 0) + (line.isEmpty() ? u""_s : u"\n"_s);
    }
    const Run run = replay(parts[u'$'].simplified().split(u' '), parts[u'<'].replace(u"\\\n"_s, QString()).toUtf8());
    QCOMPARE(run.out.split(u'\n'), parts[u' '].split(u'\n'));
    QCOMPARE(run.status, parts[u'='].toInt());
}

void tst_Replay::stats()
{
    const Run day = replay({u"--stats"_s, u"--no-tree"_s, u"--quiet"_s, QStringLiteral(FEEDS_DIR "/pool-server.jsonl"),
                            QStringLiteral(FEEDS_DIR "/desktops.jsonl")});
    const QRegularExpression expected(u"^17[0-9] calls: [0-9.]+ s in the library, [0-9.]+ us each. Besides: [0-9.]+ s "
                                      "reading, [0-9.]+ s all else. Peak memory: [0-9.]+ MB.\n$"_s);
    QVERIFY2(expected.match(day.out).hasMatch(), qPrintable(day.out));
    QCOMPARE(day.status, 0);
}

void tst_Replay::help()
{
    const Run help = replay({u"--help"_s});
    QCOMPARE(help.status, 0);
    for (const Operation &operation : allOperations())
        QVERIFY(help.out.contains(operation.name + u'(' + operation.parameters.join(u' ') + u')'));
    QCOMPARE(replay({u"--version"_s}).out, u"vmdatabase-replay " VMDATABASE_VERSION "\n"_s);
}

/// Answers come as lines do; an interruption ends the feed, but what is asked for in the end is still printed.
void tst_Replay::interruption()
{
    Process process;
    start(process, {u"--stats"_s, u"-"_s});
    process.write("[\"setPoolNodeValue\", \"p\", 3, \"Office\"]\n[\"getItemCount\"]\n[\"getItem");
    QVERIFY(process.waitForReadyRead(60000));
    QCOMPARE(process.readAll(), QByteArray("-:2 getItemCount() -> 1\n"));
    ::kill(pid_t(process.processId()), SIGINT);
    const Run run = finish(process);
    QVERIFY2(run.out.contains(u"\"Office\""_s) && run.out.contains(u"\n2 calls: "_s), qPrintable(run.out));
    QCOMPARE(run.status, 130);
}

void tst_Replay::closedStreams()
{
    const QString command = QStringLiteral(REPLAY_COMMAND).replace(u'|', u' ');
    for (const char *redirection : {"<&-", ">&-", ">/dev/full"}) {
        Process process;
        process.start(u"sh"_s,
                      {u"-c"_s, u"echo '[\"getItemCount\"]' | %1 - %2"_s.arg(command, QLatin1String(redirection))});
        QCOMPARE(finish(process).status, 1);
    }
}

// Parses a feed and plays it, and says at which lines it differs from what was recorded.
static QList<int> differingLines(const QByteArray &feed)
{
    QBuffer buffer;
    buffer.setData(feed);
    buffer.open(QIODevice::ReadOnly);
    FeedReader reader(buffer);
    FeedPlayer player;
    Check check;
    QList<int> lines;
    for (FeedLine line; reader.next(line); LiveObjects::ownLeftPolicies()) {
        if (!check.compare(line, player.play(line)).isEmpty())
            lines << int(reader.lineNumber());
    }
    return lines;
}

/// Each feed on the page of decisions answers what stands there after "# ".
void tst_Replay::documentedScenes()
{
    QFile page(QStringLiteral(DOCS_DIR "/decisions.md"));
    QVERIFY(page.open(QIODevice::ReadOnly));
    const QStringList parts = QString::fromUtf8(page.readAll()).split(u"```\n"_s);
    QCOMPARE(parts.size(), 7);
    for (int scene = 1; scene < parts.size(); scene += 2) {
        QString answers;
        const QStringList lines = parts[scene].split(u'\n');
        for (int i = 1; i < lines.size(); ++i) {
            if (lines[i].startsWith(u"# "_s))
                answers +=
                    QStringLiteral("-:%1 %2 -> %3\n")
                        .arg(QString::number(i), describeCall(parseLine(lines[i - 1].toUtf8()).call), lines[i].mid(2));
        }
        QCOMPARE(replay({u"--no-tree"_s, u"-"_s}, parts[scene].toUtf8()).out, answers);
    }
}

/// What a feed does is recorded; then one answer, log line or signal after the other is altered, and found.
void tst_Replay::alteredFeed()
{
    QFile file(QStringLiteral(FEEDS_DIR "/desktops.jsonl"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    FeedReader reader(file);
    QVector<FeedLine> lines;
    {
        FeedPlayer player;
        for (FeedLine line; reader.next(line); LiveObjects::ownLeftPolicies()) {
            const Outcome outcome = player.play(line);
            line.answer = outcome.answer;
            line.log = outcome.log;
            line.emitted = outcome.emitted;
            lines << line;
        }
    }
    const auto written = [&lines] {
        QByteArray feed;
        for (const FeedLine &line : std::as_const(lines))
            feed += formatLine(line) + "\n";
        return feed;
    };
    QCOMPARE(differingLines(written()), QList<int>());
    int altered = 0;
    for (int i = 0; i < lines.size(); ++i) {
        const FeedLine original = lines[i];
        const auto compare = [&] {
            const QList<int> found = differingLines(written());
            lines[i] = original;
            ++altered;
            return found == QList<int>{i + 1};
        };
        if (!original.answer.isUndefined()) {
            lines[i].answer = QJsonArray{original.answer};
            QVERIFY2(compare(), qPrintable(describeCall(original.call)));
        }
        if (!original.log.value_or(QStringList()).isEmpty()) {
            lines[i].log->last().append(u' ');
            QVERIFY2(compare(), qPrintable(describeCall(original.call)));
        }
        if (!original.emitted.value_or(QStringList()).isEmpty()) {
            lines[i].emitted->clear();
            QVERIFY2(compare(), qPrintable(describeCall(original.call)));
        }
    }
    QVERIFY(altered > 50);
}

void tst_Replay::anyText()
{
    FeedPlayer player;
    const QString text = u"\u00e4 \U0001f5a5 \u0000 \\ \" %1 "_s + QChar(0xd800) + u'x';
    FeedLine line = parseLine("[\"setPoolNodeValue\", \"p\", -2147483648, \"\"]\r\n");
    line.call[3] = text;
    player.play(parseLine(formatLine(line)));
    QCOMPARE(player.database().getPoolNodeValue(u"p"_s, std::numeric_limits<int>::min()), text);
    const QByteArray large(10 << 20, 'x');
    player.play(parseLine("[\"setNodeValue\", \"p\", \"i\", 2, 3, \"" + large + "\"]"));
    QCOMPARE(player.database().getNodeValue(u"p"_s, u"i"_s, VdiVM::ItemNode, 3).size(), large.size());
}

/// A line that is written reads back as it was, and what is not known of a call is not written.
void tst_Replay::roundTrip()
{
    for (const char *text : {
             R"(["getItemCount"])",
             R"({"call":["getItemUuid",1],"answer":""})",
             R"({"call":["getItemUuid",1],"answer":null,"log":[],"signals":["remoteAppsUpdated"],"database":2})",
             R"({"call":["clear"],"thread":"main","at":1.5000000,"entered":9007199254740991,"took":2.5})",
             R"({"case":"positions","x":[1]})",
         })
        QCOMPARE(formatLine(parseLine(text)), QByteArray(text));
}

void tst_Replay::reader()
{
    QBuffer feed;
    feed.open(QIODevice::ReadWrite);
    FeedReader reader(feed);
    FeedLine line;
    const auto write = [&feed](const QByteArray &text) {
        const qint64 position = feed.pos();
        feed.write(text);
        feed.seek(position);
    };
    write("\xef\xbb\xbf[\"clear\"]\r\n[\"get");
    QVERIFY(reader.next(line, true) && line.operation() == u"clear"_s);
    QVERIFY(!reader.next(line, true)); // the rest of the line is yet to come
    write("ItemCount\"]\n\n" + QByteArray(FeedReader::maxLineSize + 1, ' ') + "\n[\"clear\"]");
    QVERIFY(reader.next(line, true) && line.operation() == u"getItemCount"_s);
    QVERIFY(reader.next(line) && line.kind == FeedLine::Blank);
    QVERIFY(reader.next(line) && line.error.startsWith(u"a line of more than 64 MiB"_s));
    QVERIFY(reader.next(line) && line.operation() == u"clear"_s); // an end of line may be missing
    QCOMPARE(reader.lineNumber(), 5);
    QCOMPARE(reader.position(), feed.size());
    QVERIFY(!reader.next(line));
}

/// Whatever was played before, removing a pool costs the same.
void tst_Replay::removals()
{
    const auto cost = [](int count) {
        FeedPlayer player;
        const FeedLine name = parseLine("[\"setPoolNodeValue\", \"p\", 3, \"x\"]");
        const FeedLine remove = parseLine("[\"removeNode\", \"p\"]");
        const std::clock_t begin = std::clock();
        for (int i = 0; i < count; ++i) {
            player.play(name);
            player.play(remove);
        }
        return double(std::clock() - begin);
    };
    const double few = cost(20000);
    const double many = cost(80000);
    QVERIFY2(many < 8 * few, qPrintable(QString::number(many / few)));
}

QTEST_GUILESS_MAIN(tst_Replay)
#include "tst_replay.moc"
