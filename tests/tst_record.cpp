// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include "feed/feedreader.h"
#include "feed/json.h"
#include "operations/operations.h"
#include "text/checktext.h"
#include "threads/contract.h"
#include "threads/overlaps.h"

#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>
#include <QtCore/QTemporaryDir>

#include <csignal>

class tst_Record : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(QFile::remove(file()) || !QFile::exists(file())); }
    void cleanup() { runDeferredDeletions(); }

    void everyOperation();
    void texts();
    void slotsAndHandlers();
    void threads();
    void killed();
    void crashes_data();
    void crashes();
    void forkAndExec();
    void limits_data();
    void limits();
    void redacted();
    void nothingRecorded();
    void wrongUsage_data();
    void wrongUsage();

    void contractIsThatOfThePage();
    void contractOfAllPairs();
    void conflicts_data();
    void conflicts();
    void unsafeClient();
    void overlapsOfAFeed();

private:
    struct Run
    {
        QByteArray out;
        QByteArray err;
        int status = -1; // the signal's number, negative, if one has ended it
    };
    QString file() const { return m_dir.filePath(u"recording.jsonl"_s); }
    Run record(QStringList options, const QStringList &command, int killAfter = -1) const;
    Run client(const QStringList &arguments, const QStringList &options = {}, int killAfter = -1) const;
    static QList<FeedLine> read(const QString &name);
    static QStringList differences(const QString &name);

    QTemporaryDir m_dir;
};

tst_Record::Run tst_Record::record(QStringList options, const QStringList &command, int killAfter) const
{
    if (!options.contains(u"-o"_s))
        options << u"-o"_s << file();
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"ASAN_OPTIONS"_s, u"detect_leaks=0:handle_segv=0:use_sigaltstack=0"_s);
    environment.insert(u"TSAN_OPTIONS"_s, u"report_thread_leaks=0"_s);
    if (*SANITIZER_LIBRARY)
        environment.insert(u"LD_PRELOAD"_s, QStringLiteral(SANITIZER_LIBRARY));
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(m_dir.path());
    process.start(QStringLiteral(RECORD_PROGRAM), options + command);
    if (killAfter >= 0 && process.waitForReadyRead(30000)) {
        QThread::usleep(ulong(killAfter));
        process.kill();
    }
    if (!process.waitForFinished(60000)) {
        process.kill();
        process.waitForFinished();
    }
    return {process.readAllStandardOutput(), process.readAllStandardError(),
            process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -process.exitCode()};
}

tst_Record::Run tst_Record::client(const QStringList &arguments, const QStringList &options, int killAfter) const
{
    return record(options, QStringList{u"--"_s, QStringLiteral(RECORD_CLIENT)} + arguments, killAfter);
}

QList<FeedLine> tst_Record::read(const QString &name)
{
    QList<FeedLine> lines;
    QFile feed(name);
    if (!feed.open(QIODevice::ReadOnly))
        return lines;
    FeedReader reader(feed);
    for (FeedLine line; reader.next(line);) {
        if (!reader.isCutOff())
            lines << line;
    }
    return lines;
}

/// What `vmdatabase-replay --check` says.
QStringList tst_Record::differences(const QString &name)
{
    FeedPlayer player;
    Check check;
    QStringList found;
    const QList<FeedLine> lines = read(name);
    for (const FeedLine &line : lines) {
        found << line.error;
        for (const Difference &difference : check.compare(line, player.play(line)))
            found << toText(difference);
    }
    found.removeAll(QString());
    if (check.compared() == 0)
        found << u"nothing is compared"_s;
    return found;
}

void tst_Record::everyOperation()
{
    QTemporaryFile feed;
    QVERIFY(feed.open());
    QStringList expected;
    for (const Operation &operation : allOperations()) {
        QByteArray line = "[\"" + operation.name.toUtf8() + '"';
        for (const QString &parameter : operation.parameters)
            line += parameter == u"policy"                                             ? ",{\"a\":1}"
                    : QStringList{u"key"_s, u"type"_s, u"index"_s}.contains(parameter) ? ",1"
                                                                                       : ",\"p\"";
        if (operation.name != u"~VmDatabase" && operation.name != u"clear")
            feed.write(line + "]\n");
        if (operation.name != u"VmDatabase")
            expected << operation.name;
    }
    feed.write("[\"clear\"]\n[\"~VmDatabase\"]\n");
    feed.close();
    const Run run = record({}, {QStringLiteral(REPLAY_PROGRAM), u"--no-tree"_s, u"--quiet"_s, feed.fileName()});
    QCOMPARE(run.status, 0);
    QStringList recorded;
    const QList<FeedLine> lines = read(file());
    for (const FeedLine &line : lines)
        recorded << line.operation();
    for (const QString &operation : std::as_const(expected))
        QVERIFY2(recorded.contains(operation), qPrintable(operation));
    QCOMPARE(recorded.count(u"VmDatabase"_s), recorded.count(u"~VmDatabase"_s));
    QCOMPARE(differences(file()), QStringList());

    for (const char *day : {"desktops.jsonl", "pool-server.jsonl"}) {
        record({}, {QStringLiteral(REPLAY_PROGRAM), u"--no-tree"_s, u"--quiet"_s,
                    QStringLiteral(FEEDS_DIR "/") + QLatin1String(day)});
        QCOMPARE(differences(file()), QStringList());
    }
}

void tst_Record::texts()
{
    QCOMPARE(client({u"texts"_s}).status, 0);
    QCOMPARE(differences(file()), QStringList());
    const QList<FeedLine> lines = read(file());
    QCOMPARE(lines[1].call, QJsonArray{u"VmDatabase"_s}); // before main()
    QCOMPARE(lines[2].call.at(2), QJsonValue(3));
    QCOMPARE(lines[4].call, (QJsonArray{u"setPoolNodeValue"_s, u"p"_s, 3, QJsonValue()}));
    QCOMPARE(lines[5].answer, QJsonValue());
    QCOMPARE(lines[7].answer, QJsonValue(u""_s));
    QCOMPARE(lines[9].answer.toString().size(), 12);
    QCOMPARE(lines[9].answer.toString().at(1), QChar(0xd800));
    QCOMPARE(lines[13].answer, (QJsonObject{{u"found"_s, false}, {u"uuid"_s, QJsonValue()}}));
    QCOMPARE(lines.last().call, QJsonArray{u"~VmDatabase"_s}); // after main()
    QCOMPARE(lines.last().database, 1);
}

void tst_Record::slotsAndHandlers()
{
    const Run run = client({u"slots"_s});
    QCOMPARE(run.status, 0);
    QVERIFY(run.out.contains("[ clear ] clear and free private db now!!\n"));
    QCOMPARE(run.out.count("of the client\n") + run.err.count("of the client\n"), 2);
    QCOMPARE(differences(file()), QStringList());
    QStringList calls;
    const QList<FeedLine> lines = read(file());
    for (const FeedLine &line : lines.mid(5)) {
        calls << QString::number(line.database) + u' ' + line.operation();
        for (const QString &log : line.log.value_or(QStringList()))
            QVERIFY(!log.contains(u"of the client"));
    }
    QCOMPARE(calls.mid(0, 9),
             QStringList({u"2 setRemoteAppValue"_s, u"2 clearRemoteAppList"_s, u"2 setRemoteAppValue"_s,
                          u"3 setRemoteAppEnd"_s, u"2 setRemoteAppValue"_s, u"2 getAppNames"_s,
                          u"3 getItemTypeByUuid"_s, u"2 getParentUuid"_s, u"2 dealVmPools"_s}));
    QCOMPARE(lines[6].emitted.value_or(QStringList()), QStringList{u"remoteAppsUpdated"_s});
    QCOMPARE(calls.count(u"2 removeFamilyByParentUuid"_s), 1);
    QCOMPARE(calls.count(u"2 removeNode"_s), 0); // the library's call to itself
}

void tst_Record::threads()
{
    const Run run = client({u"threads"_s, u"2000"_s}, {u"--check-threads"_s});
    QVERIFY2(!run.err.contains("threads:") && !run.err.contains("ThreadSanitizer"), run.err.constData());
    QCOMPARE(run.status, 0);
    QSet<QString> names;
    QSet<qint64> entered;
    const QList<FeedLine> lines = read(file());
    for (const FeedLine &line : lines) {
        QCOMPARE(line.error, QString());
        if (line.kind != FeedLine::Call)
            continue;
        if (line.operation() == u"setRemoteAppEnd")
            QCOMPARE(line.emitted.value_or(QStringList()), QStringList{u"remoteAppsUpdated"_s});
        names << line.thread;
        entered << line.entered.value_or(-1);
    }
    QCOMPARE(names.size(), 5);
    QCOMPARE(entered.size(), lines.size() - 1); // none is there twice
    Overlaps overlaps;
    for (int i = 0; i < lines.size(); ++i)
        QCOMPARE(overlaps.next(lines[i], i + 1), QStringList());
}

void tst_Record::killed()
{
    for (int i = 0; i < 20; ++i) {
        const Run run = client({u"count"_s}, {}, int(QRandomGenerator::global()->bounded(20000)));
        QCOMPARE(run.status, -SIGKILL);
        int returned = 0;
        memcpy(&returned, run.out.constData() + (run.out.size() / 4 - 1) * 4, 4);
        const QList<FeedLine> lines = read(file());
        int calls = 0;
        for (const FeedLine &line : lines) {
            QCOMPARE(line.error, QString());
            calls += int(line.operation() == u"setPoolNodeValue" && line.database == 2);
        }
        QVERIFY2(calls >= returned && calls <= returned + 1, qPrintable(u"%1 of %2"_s.arg(calls).arg(returned)));
        QCOMPARE(differences(file()), QStringList());
    }
}

void tst_Record::crashes_data()
{
    QTest::addColumn<int>("status");
    QTest::newRow("crash") << -SIGSEGV;
    QTest::newRow("overflow") << -SIGSEGV;
    QTest::newRow("handler") << 3;
}

void tst_Record::crashes()
{
    QFETCH(int, status);
    if (*SANITIZER_LIBRARY)
        QSKIP("the sanitizer ends the client before the signal comes");
    const Run run = client({QString::fromLatin1(QTest::currentDataTag())});
    QCOMPARE(run.status, status);
    QCOMPARE(run.out, status == 3 ? QByteArray("client's\n") : QByteArray());
    const QList<FeedLine> lines = read(file());
    QCOMPARE(lines.last().kind, FeedLine::Unfinished);
    QCOMPARE(lines.last().about.value(u"signal"_s).toString(), u"SIGSEGV"_s);
    QStringList calls;
    const QJsonArray unfinished = lines.last().about.value(u"unfinished"_s).toArray();
    for (const QJsonValue &call : unfinished)
        calls << call.toObject().value(u"call"_s).toArray().at(0).toString();
    QVERIFY(calls.contains(u"getParentUuid"_s));
    QCOMPARE(calls.contains(u"getAppCount"_s), qstrcmp(QTest::currentDataTag(), "overflow") != 0);
    QCOMPARE(differences(file()), QStringList());
}

void tst_Record::forkAndExec()
{
    const Run run = client({u"fork"_s});
    QCOMPARE(run.status, 0);
    const QList<FeedLine> child = read(file() + u'.' + QString::fromLatin1(run.out.trimmed()));
    QCOMPARE(child.size(), 3);
    QCOMPARE(child[1].call.at(3), QJsonValue(u"child"_s));
    QCOMPARE(child[2].answer, QJsonValue(u"child"_s));
    QVERIFY(!child[0].about.contains(u"complete"_s));
    const QList<FeedLine> parent = read(file());
    QCOMPARE(parent[5].answer, QJsonValue(u"parent"_s));
    QCOMPARE(parent[6].kind, FeedLine::Case);
    QCOMPARE(parent[7].call, QJsonArray{u"VmDatabase"_s});
    QCOMPARE(differences(file()), QStringList());
}

void tst_Record::limits_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QStringList>("command");
    QTest::addColumn<QByteArray>("complaint");
    const QString texts = QStringLiteral(RECORD_CLIENT " texts");
    QTest::newRow("--max-size") << QStringList{u"--max-size"_s, u"1k"_s} << texts.split(u' ')
                                << QByteArray("--max-size");
    QTest::newRow("ulimit") << QStringList() << QStringList{u"sh"_s, u"-c"_s, u"ulimit -f 2; "_s + texts}
                            << QByteArray("the limit for the size of files");
    QTest::newRow("first line") << QStringList{u"-o"_s, u"first"_s}
                                << QStringList{u"sh"_s, u"-c"_s, u"ulimit -f 0; "_s + texts}
                                << QByteArray("the limit for the size of files");
    QTest::newRow("full disk") << QStringList{u"-o"_s, u"/dev/full"_s} << texts.split(u' ')
                               << QByteArray("No space left on device");
}

void tst_Record::limits()
{
    QFETCH(QStringList, options);
    QFETCH(QStringList, command);
    QFETCH(QByteArray, complaint);
    const Run run = record(options, command);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err.count("vmdatabase-record: recording stopped: "), 1);
    QVERIFY(run.err.contains(complaint));
    if (options.contains(u"-o"_s))
        return;
    QVERIFY(QFileInfo(file()).size() <= 2048);
    QCOMPARE(differences(file()), QStringList());
}

void tst_Record::redacted()
{
    const QStringList command{QStringLiteral(REPLAY_PROGRAM), u"--no-tree"_s, u"--quiet"_s,
                              QStringLiteral(FEEDS_DIR "/desktops.jsonl")};
    const auto contents = [this] {
        QFile recording(file());
        return recording.open(QIODevice::ReadOnly) ? recording.readAll() : QByteArray();
    };
    QCOMPARE(record({}, command).status, 0);
    QVERIFY(contents().contains(",3,\"Office\"") && contents().contains("10.0.0.1"));
    QCOMPARE(record({u"--redact"_s, u"NameKey"_s, u"--redact"_s, u"4"_s}, command).status, 0);
    QVERIFY(!contents().contains(",3,\"Office\"") && !contents().contains("10.0.0.1"));
    QVERIFY(contents().contains(",3,\"<6 characters>\""));
    QCOMPARE(record({u"--redact"_s, u"NameKey"_s}, command).status, 0);
    QCOMPARE(differences(file()), QStringList());
    QCOMPARE(record({u"--no-answers"_s}, command).status, 0);
    QVERIFY(!contents().contains("\"answer\"") && !contents().contains("\"log\""));
}

void tst_Record::nothingRecorded()
{
    const Run run = record({}, {QStringLiteral(RECORD_PROGRAM), u"--help-all"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err,
             QByteArray("vmdatabase-record: nothing recorded: the program does not load libvmdatabase.so; a copy "
                        "that is linked into it statically cannot be recorded\n"));
    const Run unused = client({u"no such name"_s});
    QCOMPARE(unused.status, 4);
    QVERIFY(!unused.err.contains("nothing recorded")); // there are calls before main()
}

void tst_Record::wrongUsage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::newRow("no program") << QStringList{} << 2;
    QTest::newRow("standard output") << QStringList{u"-o"_s, u"-"_s, u"true"_s} << 2;
    QTest::newRow("size") << QStringList{u"--max-size"_s, u"1x"_s, u"true"_s} << 2;
    QTest::newRow("key") << QStringList{u"--redact"_s, u"NoKey"_s, u"true"_s} << 2;
    QTest::newRow("microseconds") << QStringList{u"--stretch"_s, u"-1"_s, u"true"_s} << 2;
    QTest::newRow("unknown option") << QStringList{u"--unknown"_s, u"true"_s} << 2;
    QTest::newRow("no such program") << QStringList{u"-o"_s, u"kept"_s, u"no-such-program"_s} << 127;
    QTest::newRow("no such path") << QStringList{u"-o"_s, u"kept"_s, u"./no-such-program"_s} << 127;
    QTest::newRow("a directory") << QStringList{u"-o"_s, u"kept"_s, u"/"_s} << 126;
    QTest::newRow("the program") << QStringList{u"-o"_s, u"kept"_s, u"./kept"_s} << 2;
    QTest::newRow("no such directory") << QStringList{u"-o"_s, u"/no/such/file"_s, u"true"_s} << 1;
}

void tst_Record::wrongUsage()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFile kept(m_dir.filePath(u"kept"_s));
    QVERIFY(kept.open(QIODevice::ReadWrite | QIODevice::Truncate) && kept.write("kept") == 4 && kept.flush());
    QVERIFY(kept.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    QProcess process;
    process.setWorkingDirectory(m_dir.path());
    process.start(QStringLiteral(RECORD_PROGRAM), arguments);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), status);
    QVERIFY(process.readAllStandardError().startsWith("vmdatabase-record: "));
    QVERIFY(kept.seek(0));
    QCOMPARE(kept.readAll(), QByteArray("kept"));
}

struct PageRow
{
    QString name;
    QString tableLock;
    QStringList phrases;
};

/// The contract as docs/threads.md has it; "any of these of a new pool" is a row.
static QList<PageRow> pageRows()
{
    QList<PageRow> rows;
    QFile page(QStringLiteral(DOCS_DIR "/threads.md"));
    if (!page.open(QIODevice::ReadOnly))
        return rows;
    const QString text = QString::fromUtf8(page.readAll()).section(u"\n| Operations |"_s, 1).section(u"\n\n"_s, 0, 0);
    const QStringList lines = text.split(u'\n').mid(2);
    for (const QString &line : lines) {
        const QStringList cells = line.split(u'|');
        QStringList phrases = cells[4].trimmed().split(u"; "_s, Qt::SkipEmptyParts);
        phrases.removeAll(u"as above"_s);
        const QStringList names = cells[1].trimmed().remove(u'`').split(u", "_s);
        for (const QString &name : names) {
            if (!name.startsWith(u"**"))
                rows << PageRow{name, cells[2].trimmed(), phrases};
        }
    }
    return rows;
}

void tst_Record::contractIsThatOfThePage()
{
    QStringList ofPage;
    QStringList ofCode;
    const QList<PageRow> rows = pageRows();
    for (PageRow row : rows) {
        std::sort(row.phrases.begin(), row.phrases.end());
        const bool locksItems =
            row.phrases.contains(u"change any items"_s) || row.phrases.contains(u"change its items"_s);
        ofPage << row.name + u": "_s + row.phrases.join(u"; "_s) +
                      (locksItems && (row.tableLock == u"read" || row.tableLock == u"write") ? u" (locked)"_s : u""_s);
    }
    QVector<ContractRow> own = contractRows();
    own << newPoolRow;
    for (const ContractRow &row : std::as_const(own)) {
        QStringList phrases = row.forbids();
        std::sort(phrases.begin(), phrases.end());
        ofCode << QLatin1String(row.name) + u": "_s + phrases.join(u"; "_s) +
                      (row.touches & LocksItems ? u" (locked)"_s : u""_s);
    }
    std::sort(ofPage.begin(), ofPage.end());
    std::sort(ofCode.begin(), ofCode.end());
    QCOMPARE(ofCode.join(u'\n'), ofPage.join(u'\n'));

    // Each operation has a row.
    for (const Operation &operation : allOperations()) {
        const bool isThere = std::any_of(rows.cbegin(), rows.cend(), [&](const PageRow &row) {
            return row.name.section(u' ', 0, 0) == operation.name;
        });
        QVERIFY2(isThere || operation.life != Operation::Ordinary, qPrintable(operation.name));
    }
}

/// A call that is what the row says, on this pool (or application), which exists with an item.
static QJsonArray callOf(const QString &row, const QString &pool)
{
    const QString name = row.section(u' ', 0, 0);
    const int type = row.endsWith(u"item") ? VdiVM::ItemNode : VdiVM::PoolNode;
    const QString item = pool + (row.endsWith(u"new item") ? u"new"_s : u"item"_s);
    if (row == QLatin1String(newPoolRow.name))
        return {u"getPoolNodeValue"_s, pool + u"new"_s, 3};
    if (name == u"construction" || name == u"destruction")
        return {name == u"construction" ? u"VmDatabase"_s : u"~VmDatabase"_s};
    QJsonArray call{name};
    for (const QString &parameter : findOperation(name)->parameters) {
        call << (parameter == u"type"       ? QJsonValue(name.contains(u"Policy") ? 1 : type)
                 : parameter == u"key"      ? QJsonValue(3)
                 : parameter == u"index"    ? QJsonValue(0)
                 : parameter == u"policy"   ? QJsonValue(QJsonObject())
                 : parameter == u"serverIp" ? QJsonValue(pool + u"ip"_s)
                 : parameter == u"uuid" && findOperation(name)->parameters.size() > 3 ? QJsonValue(item)
                 : row == u"removeNode of an item"                                    ? QJsonValue(item)
                 : row == u"setRemoteAppValue of a new id"                            ? QJsonValue(pool + u"new"_s)
                                                                                      : QJsonValue(pool));
    }
    return call;
}

/// What the page says of \a y beside \a x, in its own words; \a same if both are on one pool.
static bool forbids(const PageRow &x, const PageRow &y, bool same)
{
    static const QString newPool = QLatin1String(newPoolRow.name);
    same = same || x.name == u"dealVmGroupPool" || y.name == u"dealVmGroupPool"; // "all that have a group"
    const auto has = [&y](const char *phrase) { return y.phrases.contains(QLatin1String(phrase)); };
    const bool removesPools = has("use a removed pool");
    const bool usesItems = has("change its items") || has("use its items");
    const bool changesApps = has("use applications");
    const auto isLocked = [](const PageRow &row) { return row.tableLock == u"read" || row.tableLock == u"write"; };
    const bool bothLocked = isLocked(x) && isLocked(y);
    for (const QString &phrase : x.phrases) {
        if ((phrase == u"use the database") || (phrase == u"list pools" && has("add or remove pools")) ||
            (phrase == u"add or remove pools" && (y.name == newPool || removesPools)) ||
            (phrase == u"look up its pool" && same && y.name == newPool) ||
            (phrase == u"change its items" && has("use its items") && same && !bothLocked) ||
            (phrase == u"change any items" && has("use its items") && !bothLocked) ||
            (phrase == u"use its items" && ((usesItems && same) || has("change any items")) && !bothLocked) ||
            (phrase == u"change applications unlocked" && changesApps) ||
            (phrase == u"list applications" && has("add or remove applications")) ||
            (phrase == u"add or remove applications" && (has("list applications") || changesApps)) ||
            (phrase == u"use applications" && (changesApps || has("change applications unlocked"))) ||
            (phrase == u"clear SaaS applications" && has("use SaaS applications")) ||
            (phrase == u"use SaaS applications" && (has("clear SaaS applications") || has("use SaaS applications"))))
            return true;
    }
    return false;
}

void tst_Record::contractOfAllPairs()
{
    StoredNames stored;
    for (const QString &pool : {u"p"_s, u"q"_s}) {
        stored.enter({u"setPoolNodeValue"_s, pool, VdiVM::GroupKey, u"g"_s});
        stored.enter({u"setPoolNodeValue"_s, pool, VdiVM::ServerIpKey, pool + u"ip"_s});
        stored.enter({u"setNodeValue"_s, pool, pool + u"item"_s, VdiVM::ItemNode, 3, u"x"_s});
        stored.enter({u"setRemoteAppValue"_s, pool, 3, u"x"_s});
    }
    int allowed = 0;
    const QList<PageRow> rows = pageRows();
    for (int i = 0; i < rows.size(); ++i) {
        for (int j = 0; j <= i * 2 + 1; ++j) {
            const PageRow &x = rows[i];
            const PageRow &y = rows[j / 2];
            const bool same = j % 2 == 0;
            const bool xIsNew = x.name == QLatin1String(newPoolRow.name);
            const bool yIsNew = y.name == QLatin1String(newPoolRow.name);
            StoredNames first = stored;
            StoredNames second = stored; // neither sees what the other does, unless that adds a pool
            Touched a, b;
            if (yIsNew)
                b = first.enter(callOf(y.name, same ? u"p"_s : u"q"_s));
            a = first.enter(callOf(x.name, u"p"_s));
            if (!yIsNew)
                b = (xIsNew ? first : second).enter(callOf(y.name, same ? u"p"_s : u"q"_s));
            const QString found = conflict(a, u"one"_s, b, u"two"_s);
            const bool expected = forbids(x, y, same) || forbids(y, x, same);
            const QString pair = u"%1 | %2 | %3 | %4"_s.arg(x.name, y.name, same ? u"same"_s : u"other"_s, found);
            QVERIFY2(found.isEmpty() != expected, qPrintable(pair));
            allowed += int(!expected);
        }
    }
    QVERIFY2(allowed > 500, qPrintable(QString::number(allowed)));
    const Touched end = stored.enter({u"clear"_s});
    QCOMPARE(conflict(end, u"one"_s, stored.deletePool(u"p"_s), u"two"_s), QString());
}

void tst_Record::conflicts_data()
{
    QTest::addColumn<QByteArray>("report");
    QTest::newRow("list add") << QByteArray(
        "threads: main: getVmPoolNameList  beside  2: setPoolNodeValue(\"new\") which "
        "adds a pool: pools must not be added meanwhile (record_client+0x");
    QTest::newRow("add add") << QByteArray("which adds the pool: it must not be looked up meanwhile (");
    QTest::newRow("list removeServer") << QByteArray(
        "2: removeNodesByServerIp(\"<8 characters>\") which removes a pool");
    QTest::newRow("clear apps") << QByteArray(
        "threads: 2: getAppsIdList  beside  main: clearRemoteAppList which removes applications");
    QTest::newRow("read write") << QByteArray();
    QTest::newRow("read add") << QByteArray();
    QTest::newRow("count removeItem") << QByteArray();
    QTest::newRow("deletion") << QByteArray(
        "threads: 2: wheelVmGroup(\"g\")  beside  main: the event loop which deletes a "
        "removed pool: it must not be in use then (");
}

void tst_Record::conflicts()
{
    QFETCH(QByteArray, report);
    const QStringList pair = QString::fromLatin1(QTest::currentDataTag()).split(u' ');
    const bool isPair = pair.size() == 2;
    const Run run = client((isPair ? QStringList{u"conflict"_s} : QStringList()) + pair,
                           {u"--check-threads"_s, u"--stretch"_s, u"100000"_s, u"--redact"_s, u"ServerIpKey"_s});
    QVERIFY2(run.err.contains(report), run.err.constData());
    QCOMPARE(run.err.count("threads: "), int(!report.isEmpty()));
    QCOMPARE(run.status, int(isPair && !report.isEmpty()));
    int inFeed = 0;
    const QList<FeedLine> lines = read(file());
    for (const FeedLine &line : lines)
        inFeed += int(line.about.contains(u"threads"_s));
    QCOMPARE(inFeed, int(!report.isEmpty()));
}

void tst_Record::unsafeClient()
{
    const Run run = record({u"--check-threads"_s}, {u"timeout"_s, u"5"_s, QStringLiteral(RECORD_CLIENT), u"unsafe"_s});
    QVERIFY2(run.err.contains("threads: main: "), run.err.constData());
    QVERIFY2(run.err.count("threads: ") < 50, run.err.constData()); // once for each pair and place
    const QList<FeedLine> lines = read(file());
    QVERIFY(std::any_of(lines.cbegin(), lines.cend(),
                        [](const FeedLine &line) { return line.about.contains(u"threads"_s); }));
}

void tst_Record::overlapsOfAFeed()
{
    const auto report = [](const QList<QByteArray> &lines) {
        Overlaps overlaps;
        QStringList found;
        for (int i = 0; i < lines.size(); ++i)
            found << overlaps.next(parseLine(lines[i]), i + 1);
        return found;
    };
    const QByteArray list = R"({"call":["getVmPoolNameList"],"thread":"a",)";
    const QByteArray add = R"({"call":["setPoolNodeValue","p",3,"x"],"thread":"b",)";
    const QStringList expected{
        u"a: getVmPoolNameList  beside  b: setPoolNodeValue(\"p\") which adds a pool: pools must "
        "not be added meanwhile (line 1)"_s};
    QCOMPARE(report({list + R"("at":1.0,"took":2.0,"entered":1})", add + R"("at":1.000001,"took":9.0,"entered":2})"}),
             expected);
    QCOMPARE(report({list + R"("entered":2})", add + R"("entered":1})"}), expected);
    // One after the other, on one thread, on two databases, an added pool.
    QCOMPARE(report({list + R"("at":1.0,"took":2.0,"entered":1})", add + R"("at":1.000002,"took":9.0,"entered":2})"}),
             QStringList());
    QCOMPARE(report({list + R"("entered":1})", add + R"("entered":2})"}), QStringList());
    QCOMPARE(report({list + R"("entered":2})", R"({"call":["dealVmPools"],"thread":"a","entered":1})"}), QStringList());
    QCOMPARE(report({list + R"("entered":2,"database":2})", add + R"("entered":1})"}), QStringList());
    QCOMPARE(report({R"(["getPoolNodeValue","p",3])", list + R"("entered":2})", add + R"("entered":1})"}),
             QStringList());
}

QTEST_GUILESS_MAIN(tst_Record)
#include "tst_record.moc"
