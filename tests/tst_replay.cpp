// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include "feed/feedplayer.h"

#include <QtCore/QProcess>

class tst_Replay : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { runDeferredDeletions(); }

    void sessions_data();
    void sessions();
    void feeds();
    void documentedScenes();
    void anyText();
};

struct Run
{
    QString out;
    QString err;
    int status = -1;
};

// A class of its own makes Qt start programs by fork(): its newer way is unknown to the emulator that runs ARM builds.
class Process : public QProcess
{
};

static const QString sessionsPath = QStringLiteral(TRANSCRIPTS_DIR "/replay.sessions");

static Run replay(const QStringList &arguments, const QByteArray &input = {})
{
    QStringList command = QStringLiteral(REPLAY_COMMAND).split(u'|') + arguments;
    command.removeAll(QString()); // there is no emulator where programs run as they are
    Process process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"ASAN_OPTIONS"_s, u"detect_leaks=0"_s); // leaks for compatibility
    process.setProcessEnvironment(environment);
    process.start(command.takeFirst(), command);
    process.write(input);
    process.closeWriteChannel();
    const bool finished = process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit;
    return {QString::fromUtf8(process.readAllStandardOutput()), QString::fromUtf8(process.readAllStandardError()),
            finished ? process.exitCode() : -1};
}

/// "== name" begins a session with the program: its arguments ($), its input (<), what it prints, its errors (!) and its
/// exit status (=).
void tst_Replay::sessions_data()
{
    QTest::addColumn<int>("firstLine");
    QTest::addColumn<QStringList>("lines");
    QFile file(sessionsPath);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QStringList sessions = (u"\n"_s + QString::fromUtf8(file.readAll())).split(u"\n== "_s).mid(1);
    int firstLine = 2;
    for (const QString &text : sessions) {
        const QStringList lines = text.split(u'\n');
        QTest::newRow(lines[0].toUtf8()) << firstLine << QStringList(lines.mid(1));
        firstLine += lines.size();
    }
}

void tst_Replay::sessions()
{
    QFETCH(int, firstLine);
    QFETCH(QStringList, lines);
    lines.removeAll(QString());
    QHash<QChar, QStringList> parts; // by the mark that a line begins with
    QHash<QChar, int> begins;
    for (int i = 0; i < lines.size(); ++i) {
        const bool isMarked = QRegularExpression(u"^[$<!=] "_s).match(lines[i]).hasMatch();
        const QChar mark = isMarked ? lines[i].at(0) : QChar(u' ');
        if (!begins.contains(mark))
            begins[mark] = firstLine + i;
        parts[mark] << lines[i].mid(isMarked ? 2 : 0);
    }
    const QString call = parts[u'$'].value(0);
    const Run run = replay(call.split(u' '), parts[u'<'].join(u'\n').toUtf8() + '\n');
    const auto compare = [&](const QString &text, QChar mark) {
        return compareLines(text.split(u'\n'), parts[mark] << QString(), call, sessionsPath, begins[mark]);
    };
    if (compare(run.out, u' ') && compare(run.err, u'!'))
        QCOMPARE(run.status, parts[u'='].value(0).toInt());
}

void tst_Replay::feeds()
{
    const Run day = replay({u"--stats"_s, u"--no-tree"_s, QStringLiteral(FEEDS_DIR "/pool-server.jsonl"),
                            QStringLiteral(FEEDS_DIR "/desktops.jsonl")});
    QCOMPARE(day.err, QString());
    QCOMPARE(day.status, 0);
    QVERIFY(day.out.contains(
        QRegularExpression(u"\\n17[0-9] calls in [0-9.]+ s, [0-9]+ calls/s, peak memory [0-9.]+ MB\\n$"_s)));
    QVERIFY(day.out.contains(u"67 wheelVmGroup -> {\"found\":true,\"uuid\":\"debian-7-i386\"}\n"_s));
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
                    QStringLiteral("%1 %2 -> %3\n").arg(i).arg(lines[i - 1].section(u'"', 1, 1), lines[i].mid(2));
        }
        QCOMPARE(replay({u"--no-tree"_s, u"-"_s}, parts[scene].toUtf8()).out, answers);
    }
}

void tst_Replay::anyText()
{
    LogCapture log;
    FeedPlayer player;
    const QString text = u"\u00e4 \U0001f5a5 \u0000 \\ \" %1"_s;
    player.play("[\"setPoolNodeValue\", \"p\", -2147483648, " + compactJson(text).toUtf8() + "]\r\n");
    QCOMPARE(player.database().getPoolNodeValue(u"p"_s, std::numeric_limits<int>::min()), text);
    const QByteArray large(10 << 20, 'x');
    player.play("[\"setNodeValue\", \"p\", \"i\", 2, 3, \"" + large + "\"]");
    QCOMPARE(player.database().getNodeValue(u"p"_s, u"i"_s, VdiVM::ItemNode, 3).size(), large.size());
}

QTEST_GUILESS_MAIN(tst_Replay)
#include "tst_replay.moc"
