// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include "feed/feedreader.h"
#include "operations/operations.h"
#include "text/checktext.h"
#include "text/describe.h"
#include "threads/overlaps.h"

#include <QtCore/QBuffer>
#include <QtCore/QDir>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryFile>

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
    void follow();
    void closedStreams();
    void feeds_data();
    void feeds();
    void everyOperation();
    void alteredFeed();
    void apart();
    void anyText();
    void roundTrip();
    void reader();
    void removals();
};

static const QString sessionsPath = QStringLiteral(TEST_FEEDS_DIR "/replay.sessions");

static QString readText(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

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
/// is a backslash), its exit status (=) if that is not 0, and what it prints and reports, in that order.
void tst_Replay::sessions_data()
{
    QTest::addColumn<int>("line");
    QTest::addColumn<QStringList>("lines");
    const QStringList sessions = (u"\n"_s + readText(sessionsPath)).split(u"\n== "_s).mid(1);
    int line = 1;
    for (const QString &text : sessions) {
        QStringList lines = text.split(u'\n');
        line += lines.size();
        lines.removeAll(QString()); // only behind the last one
        QTest::newRow(lines[0].toUtf8()) << line - text.count(u'\n') << QStringList(lines.mid(1));
    }
}

void tst_Replay::sessions()
{
    QFETCH(int, line);
    QFETCH(QStringList, lines);
    const auto take = [&](const QString &mark) {
        QString taken;
        for (; lines.value(0).startsWith(mark); ++line)
            taken += lines.takeFirst().mid(2) + u'\n';
        return taken;
    };
    const QString arguments = take(u"$ "_s).simplified();
    const QByteArray input = take(u"< "_s).replace(u"\\\n"_s, QString()).toUtf8();
    const int status = take(u"= "_s).toInt();
    const Run run = replay(arguments.split(u' '), input);
    compareLines(run.out.split(u'\n'), lines << QString(), arguments, sessionsPath, line);
    QCOMPARE(run.status, status);
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

/// On a terminal a recording is played while it grows.
void tst_Replay::follow()
{
    if (QProcess::execute(u"script"_s, {u"-qec"_s, u"true"_s, u"/dev/null"_s}) != 0)
        QSKIP("there are no pseudo-terminals, as /dev/pts is not mounted");
    QTemporaryFile recording;
    QVERIFY(recording.open());
    const auto record = [&recording](const char *line) { return recording.write(line) > 0 && recording.flush(); };
    QVERIFY(record("[\"setPoolNodeValue\", \"p\", 3, \"Office\"]\n[\"getItem"));
    Process terminal;
    terminal.start(u"script"_s,
                   {u"-qec"_s,
                    QStringLiteral(REPLAY_COMMAND).replace(u'|', u' ') + u" --follow "_s + recording.fileName(),
                    u"/dev/null"_s});
    QByteArray out;
    const auto waitFor = [&](const char *text) {
        while (!out.contains(text) && terminal.waitForReadyRead(60000))
            out += terminal.readAll();
        return out.contains(text);
    };
    QVERIFY2(waitFor(": 1 call. Ctrl-C ends.") && waitFor("\"Office\""), out);
    QVERIFY(record("Count\"]\n[\"setPoolNodeValue\", \"q\", 3, \"Lab\"]\n"));
    QVERIFY2(waitFor(": 3 calls. Ctrl-C ends.") && waitFor("\"Lab\""), out);
    terminal.write("\003");
    QVERIFY(terminal.waitForFinished(60000));
    QCOMPARE(terminal.exitCode(), 130);
    QCOMPARE(replay({u"--follow"_s, u"-"_s}).status, 2); // nor where no terminal is
    QCOMPARE(replay({u"--follow"_s, recording.fileName()}).status, 2);
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

// Plays a feed; what is not as it was recorded, with the number of its line before it.
static QStringList differences(QIODevice &feed, int *compared = nullptr)
{
    FeedReader reader(feed);
    FeedPlayer player;
    Check check;
    QStringList found;
    for (FeedLine line; reader.next(line);) {
        LiveObjects::ownLeftPolicies();
        const Outcome played = player.play(line);
        QStringList here(played.error);
        for (const Difference &difference : check.compare(line, played))
            here << toText(difference);
        for (const QString &text : here) {
            if (!text.isEmpty())
                found << u"%1: %2"_s.arg(QString::number(reader.lineNumber()), text);
        }
    }
    LiveObjects::ownLeftPolicies();
    if (compared)
        *compared = check.compared();
    return found;
}

static QStringList differences(QByteArray feed, int *compared = nullptr)
{
    QBuffer buffer(&feed);
    buffer.open(QIODevice::ReadOnly);
    return differences(buffer, compared);
}

/// Feeds are right to the letter: those of this folder, and as far as answers stand in them, examples and the fences of
/// pages.
void tst_Replay::feeds_data()
{
    QTest::addColumn<QByteArray>("feed");
    QTest::addColumn<bool>("isRecorded");
    for (const QString &folder : {QStringLiteral(TEST_FEEDS_DIR), QStringLiteral(FEEDS_DIR)}) {
        const QDir dir(folder);
        for (const QString &name : dir.entryList({u"*.jsonl"_s}))
            QTest::newRow(qPrintable(dir.filePath(name)))
                << readText(dir.filePath(name)).toUtf8() << (folder == QStringLiteral(TEST_FEEDS_DIR));
    }
    const QDir docs(QStringLiteral(DOCS_DIR));
    for (const QString &name : docs.entryList({u"*.md"_s})) {
        const QStringList parts = readText(docs.filePath(name)).split(u"```"_s);
        for (int i = 1; i < parts.size(); i += 2) {
            const QString feed = parts[i].section(u'\n', 1);
            if (feed.startsWith(u"[\""_s) || feed.startsWith(u"{\""_s))
                QTest::addRow("%s, fence %d", qPrintable(name), i / 2 + 1) << feed.toUtf8() << false;
        }
    }
}

void tst_Replay::feeds()
{
    QFETCH(QByteArray, feed);
    QFETCH(bool, isRecorded);
    int compared = 0;
    const QStringList found = differences(feed, &compared);
    QVERIFY2(found.isEmpty(), qPrintable(u"line "_s + found.join(u"\nline "_s)));
    QVERIFY(compared > 0 || !isRecorded);
}

/// Together the feeds of this folder make every call that a feed can, and a feed whatever the facade offers.
void tst_Replay::everyOperation()
{
    QString feeds;
    const QDir dir(QStringLiteral(TEST_FEEDS_DIR));
    for (const QString &name : dir.entryList({u"*.jsonl"_s}))
        feeds += readText(dir.filePath(name));
    QString header = readText(QStringLiteral(HEADERS_DIR "/vmdatabase.h"));
    header.remove(QRegularExpression(u"Q_SIGNALS:.*"_s, QRegularExpression::DotMatchesEverythingOption));
    auto names = QRegularExpression(u"^    [A-Za-z][^/(]*[ &*]([a-z]\\w+)\\("_s, QRegularExpression::MultilineOption)
                     .globalMatch(header);
    int count = 2; // constructor and destructor
    for (; names.hasNext(); ++count) {
        const QString name = names.next().captured(1);
        QVERIFY2(findOperation(name) && feeds.contains(u"[\""_s + name + u'"'), qPrintable(name));
    }
    QCOMPARE(count, allOperations().size());
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
    QCOMPARE(differences(written()), QStringList());
    int altered = 0;
    for (int i = 0; i < lines.size(); ++i) {
        const FeedLine original = lines[i];
        const auto compare = [&] {
            const QStringList found = differences(written());
            lines[i] = original;
            ++altered;
            return found.size() == 1 && found[0].startsWith(QString::number(i + 1) + u": "_s);
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

/// Neither another feed nor another case is compared with what came before.
void tst_Replay::apart()
{
    const auto called = [](int entered, const char *thread) {
        return parseLine(
            QByteArray(R"({"call":["setPoolNodeValue","p",3,""],"answer":1,"at":0.1,"took":5,"thread":")") + thread +
            R"(","entered":)" + QByteArray::number(entered) + '}');
    };
    Check check;
    Overlaps overlaps;
    Outcome played;
    check.compare(parseLine(R"({"complete":true})"), played);
    check.compare(called(7, "a"), played);
    QVERIFY(overlaps.next(called(7, "a"), 1).isEmpty());
    check.compare(parseLine(R"({"case":"exec"})"), played);
    QVERIFY(toText(check.compare(called(5, "b"), played).constFirst()).endsWith(u"recorded 1"_s));
    check.beginFeed();
    overlaps.beginFeed();
    QVERIFY(overlaps.next(called(3, "b"), 1).isEmpty());
    played.log << u"info: a"_s;
    QVERIFY(check.compare(parseLine(R"(["dealVmPools"])"), played).isEmpty());
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
    LiveObjects::ownLeftPolicies();
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
