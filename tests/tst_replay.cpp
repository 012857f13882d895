// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include "feedplayer.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>

class tst_Replay : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { runDeferredDeletions(); }

    void badLines_data();
    void badLines();
    void goodLines();
    void program_data();
    void program();
    void feeds();
    void treeAsJson();
};

struct Run
{
    int status = -1;
    QString out;
    QString err;
};

// A class of its own makes Qt start programs by fork(): its newer way is unknown to the emulator that runs ARM builds.
class Process : public QProcess
{
};

static Run replay(const QStringList &arguments, const QByteArray &input = {})
{
    QStringList command = QStringLiteral(REPLAY_COMMAND).split(u'|', Qt::SkipEmptyParts) + arguments;
    Process process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"ASAN_OPTIONS"_s, u"detect_leaks=0"_s); // the library's meant leaks
    process.setProcessEnvironment(environment);
    process.start(command.takeFirst(), command);
    process.write(input);
    process.closeWriteChannel();
    Run run;
    if (process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit)
        run.status = process.exitCode();
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

void tst_Replay::badLines_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("error");
    const auto row = [](const char *line, const QString &error) { QTest::newRow(line) << QByteArray(line) << error; };
    const auto notCall = u"not a call, expected [\"operation\", argument, ...]"_s;
    row("clear", u"not JSON (illegal value), expected [\"operation\", argument, ...]"_s);
    row("{\"clear\": 1}", notCall);
    row("[]", notCall);
    row("[1]", notCall);
    row("[\"drop\\n\"]", u"unknown operation \"drop\\n\", expected a public operation of VmDatabase"_s);
    row("[\"getItemUuid\"]", u"0 arguments, expected 1 (32-bit integer)"_s);
    row("[\"wheelVmGroup\", \"g\", \"u\"]", u"2 arguments, expected 1 (text or null)"_s);
    row("[\"getPoolNodeValue\", 1, 3]", u"argument 1 is of the wrong kind, expected text or null"_s);
    for (const char *number : {"2147483648", "-2147483649", "1.5", "\"3\"", "null", "1e99"})
        row(QByteArray("[\"getPoolNodeValue\", \"p\", ") + number + "]",
            u"argument 2 is of the wrong kind, expected 32-bit integer"_s);
    row("[\"setRemoteAppControlPolicy\", \"a\", []]", u"argument 2 is of the wrong kind, expected object"_s);
    row("[\"getAppCount\"]", u"getAppCount after clear, expected an open database"_s);
}

void tst_Replay::badLines()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, error);
    LogCapture log;
    FeedPlayer player;
    player.play("[\"setPoolNodeValue\", \"p\", 3, \"kept\"]");
    if (error.contains(u"after clear"_s))
        player.play("[\"clear\"]");
    const FeedPlayer::Line played = player.play(line);
    QCOMPARE(played.outcome.error, error);
    QVERIFY(played.outcome.answer.isUndefined());
    QCOMPARE(player.database().getItemCount(), player.isClosed() ? 0 : 1);
}

void tst_Replay::goodLines()
{
    LogCapture log;
    FeedPlayer player;
    const auto answer = [&player](const QByteArray &line) {
        const FeedPlayer::Line played = player.play(line);
        return played.outcome.error + compactJson(played.outcome.answer);
    };
    QVERIFY(player.play("  \r\n").operation.isEmpty());
    QVERIFY(player.play("# [\"clear\"]").operation.isEmpty());
    QVERIFY(!player.isClosed());
    const QString text = u"\u00e4 \U0001f5a5 \u0000 \\ \" %1"_s;
    player.play("[\"setPoolNodeValue\", \"p\", -2147483648, " + compactJson(text).toUtf8() + "]");
    QCOMPARE(player.database().getPoolNodeValue(u"p"_s, -2147483647 - 1), text);
    QCOMPARE(answer("[\"getPoolNodeValue\", null, 3]"), u"\"\""_s);
    QCOMPARE(answer("[\"getPoolNodeValue\", \"p\", 3.0]\r\n"), u"null"_s);
    const QByteArray large(10 << 20, 'x');
    player.play("[\"setNodeValue\", \"p\", \"i\", 2, 3, \"" + large + "\"]");
    QCOMPARE(player.database().getNodeValue(u"p"_s, u"i"_s, VdiVM::ItemNode, 3).size(), large.size());
}

void tst_Replay::program_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("out");
    QTest::addColumn<QString>("err");
    const QByteArray feed =
        "[\"setPoolNodeValue\", \"p\", 308, \"0\"]\n[\"getPoolNodeValue\", \"p\", 308]\n[\"nonsense\"]\n"
        "[\"setRemoteAppEnd\"]\n[\"wheelVmGroup\", \"g\"]";
    const auto bad = u"-:3: unknown operation \"nonsense\", expected a public operation of VmDatabase\n"_s;
    const auto answers =
        u"2 getPoolNodeValue -> \"0\"\n4 remoteAppsUpdated\n5 wheelVmGroup -> {\"found\":false,\"uuid\":null}\n"_s;
    const auto tree = u"Pools (* active):\n  SHOWN      \"p\"\nRemote applications: none\nSaaS applications: none\n"_s;
    QTest::newRow("plain") << QStringList(u"-"_s) << feed << 1 << answers + tree << bad;
    QTest::newRow("strict") << QStringList({u"--strict"_s, u"-"_s}) << feed << 1 << u"2 getPoolNodeValue -> \"0\"\n"_s
                            << bad;
    QTest::newRow("quiet") << QStringList({u"--quiet"_s, u"-"_s}) << feed << 1 << tree << bad;
    QTest::newRow("json")
        << QStringList({u"--json"_s, u"--no-tree"_s, u"-"_s}) << feed << 1
        << u"{\"answer\":\"0\",\"line\":2,\"operation\":\"getPoolNodeValue\"}\n{\"line\":4,\"signal\":"
           u"\"remoteAppsUpdated\"}\n"
           "{\"answer\":{\"found\":false,\"uuid\":null},\"line\":5,\"operation\":\"wheelVmGroup\"}\n"_s
        << bad;
    QTest::newRow("criticals") << QStringList({u"--no-tree"_s, u"-"_s})
                               << QByteArray("[\"setPoolNodeValue\",\"\",3,\"x\"]") << 0 << QString()
                               << u"critical: [ getVmPool ] parent uuid is empty!!\n"
                                  "critical: setPoolNodeValue \"cannot find vm pool node, parent uuid = \"\n"_s;
    QTest::newRow("log")
        << QStringList({u"--log"_s, u"-"_s}) << QByteArray("[\"clear\"]") << 0
        << u"Pools (* active): none\nRemote applications: none\nSaaS applications: none\n"_s
        << u"info: [ clear ] clear and free private db now!!\ninfo: [ ~VmDatabase ] Yes, free db now!!\n"_s;
    QTest::newRow("no file") << QStringList({u"--no-tree"_s, u"nowhere.jsonl"_s}) << QByteArray() << 1 << QString()
                             << u"nowhere.jsonl:0: No such file or directory, expected a readable file\n"_s;
    QTest::newRow("version") << QStringList(u"--version"_s) << QByteArray() << 0 << u"vmdatabase-replay 1.0.0\n"_s
                             << QString();
}

void tst_Replay::program()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, input);
    QFETCH(int, status);
    QFETCH(QString, out);
    QFETCH(QString, err);
    const Run run = replay(arguments, input);
    QCOMPARE(run.out, out);
    QCOMPARE(run.err, err);
    QCOMPARE(run.status, status);
}

void tst_Replay::feeds()
{
    const Run day = replay({u"--stats"_s, u"--no-tree"_s, QStringLiteral(FEEDS_DIR "/pool-server.jsonl"),
                            QStringLiteral(FEEDS_DIR "/desktops.jsonl")});
    QCOMPARE(day.err, QString());
    QCOMPARE(day.status, 0);
    QVERIFY(day.out.contains(
        QRegularExpression(u"\n17[0-9] calls in [0-9.]+ s, [0-9]+ calls/s, peak memory [0-9.]+ MB\n$"_s)));
    QVERIFY(day.out.contains(u"67 wheelVmGroup -> {\"found\":true,\"uuid\":\"debian-7-i386\"}\n"_s));
}

void tst_Replay::treeAsJson()
{
    const QByteArray feed = "[\"setNodeValue\",\"p\",\"i\",2,204,\"1\"]\n[\"setPoolNodeValue\",\"p\",307,\"g\"]\n"
                            "[\"setPoolNodeValue\",\"p\",308,\"1\"]\n[\"setPoolNodeValue\",\"q\",307,\"g\"]\n"
                            "[\"setPoolNodeValue\",\"q\",305,\"9\"]\n[\"setRemoteAppValue\",\"a\",10,\"Mail\"]\n"
                            "[\"setRemoteAppControlPolicy\",\"b\",{\"x\":1}]\n[\"setSaasAppValue\",\"s\",1,\"\"]\n";
    const Run json = replay({u"--json"_s, u"--quiet"_s, u"-"_s}, feed);
    const QJsonObject tree = QJsonDocument::fromJson(json.out.toUtf8()).object()[u"tree"_s].toObject();
    QCOMPARE(
        compactJson(tree[u"pools"_s]),
        u"[{\"group\":\"g\",\"items\":[{\"active\":true,\"name\":\"\",\"status\":\"\",\"uuid\":\"i\"}],\"name\":\"\","
        u"\"priority\":\"\","
        "\"shown\":false,\"uuid\":\"p\"},{\"group\":\"g\",\"items\":[],\"name\":\"\",\"priority\":\"9\",\"shown\":null,\"uuid\":\"q\"}]"_s);
    const Run drawn = replay({u"--quiet"_s, u"--log"_s, u"-"_s}, feed);
    QCOMPARE(drawn.out,
             u"Pools (* active):\n  group \"g\"\n    hidden     \"p\"\n        * \"i\"\n    undecided  \"q\"  priority "
             u"\"9\"  <- lead\n"
             "Remote applications:\n  \"a\"  \"Mail\" = \"\"\n  \"b\"  no record\nSaaS applications:\n  \"s\"\n"_s);
    QCOMPARE(drawn.err, u"info: [ ~VmDatabase ] Yes, free db now!!\n"_s);
}

QTEST_GUILESS_MAIN(tst_Replay)
#include "tst_replay.moc"
