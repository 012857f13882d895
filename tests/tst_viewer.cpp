// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include "analysis/history.h"
#include "feed/feedreader.h"
#include "text/describe.h"
#include "text/dump.h"
#include "text/explanationtext.h"
#include "viewer/mainwindow.h"
#include "viewer/timeline.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QAbstractItemModelTester>
#include <QtWidgets/QtWidgets>

#include <random>

// As many calls as a long day has, within times that a quiet machine keeps: only when asked for.
static const bool isTimed = qEnvironmentVariableIsSet("VMDATABASE_TEST_TIMES");
static const int many = isTimed ? 1000000 : 50000;
static const int openTime = isTimed ? 5000 : 60000; // milliseconds

static const QString desktops = QStringLiteral(FEEDS_DIR "/desktops.jsonl");

class tst_Viewer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void moments_data();
    void moments();
    void cards();
    void marks();
    void follow();
    void badFeeds();
    void aMillionCalls();
    void window();
    void panels();
    void screenshot();

private:
    QString write(const QString &name, const QByteArray &text)
    {
        const QString path = m_dir.filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
            qFatal("cannot write %s", qPrintable(path));
        return path;
    }
    QTemporaryDir m_dir;
};

static bool load(FeedDocument &document, const QString &fileName)
{
    QSignalSpy loaded(&document, &FeedDocument::loaded);
    document.open(fileName);
    return loaded.wait(openTime);
}

/// A document, its moment and the models over it, watched by Qt's tester.
struct Viewer
{
    FeedDocument document;
    Moment moment{document};
    CallsModel calls{document};
    ProblemsModel problems{document};
    DesktopsModel desktops;
    StoreModel store;
    HistoryModel history{document};
    std::vector<std::unique_ptr<QAbstractItemModelTester>> testers;

    Viewer()
    {
        for (QAbstractItemModel *model : QVector<QAbstractItemModel *>{&calls, &problems, &desktops, &store, &history})
            testers.push_back(std::make_unique<QAbstractItemModelTester>(
                model, QAbstractItemModelTester::FailureReportingMode::Fatal));
    }
    void go(int row)
    {
        moment.moveTo(row);
        store.show(moment.before(), moment.after(), moment.changes());
        desktops.show(moment.after(), moment.changes());
    }
    QString cards() const
    {
        static const QStringList states{u"undecided"_s, u"shown"_s, u"hidden"_s};
        QStringList texts;
        for (const Desktop &desktop : desktops.desktops()) {
            QString text = desktop.name + u' ' + states[int(desktop.state)];
            for (const Desktop::Place &place : desktop.ranking)
                text += (&place == desktop.ranking.cbegin() ? u" ["_s : u", "_s) + place.name +
                        (place.isFailed ? u" failed"_s : u""_s);
            text += desktop.ranking.isEmpty() ? u""_s : u"]"_s;
            for (const Desktop::Machine &machine : desktop.machines)
                text += u" "_s + machine.name + (machine.isActive ? u"*"_s : u""_s);
            texts << text;
        }
        return texts.join(u"; "_s);
    }
    /// What is highlighted, as a change reads.
    QStringList highlights(const QModelIndex &parent = {})
    {
        QStringList found;
        while (store.canFetchMore(parent))
            store.fetchMore(parent);
        for (int row = 0; row < store.rowCount(parent); ++row) {
            const QModelIndex index = store.index(row, 0, parent);
            const int mark = index.data(StoreModel::MarkRole).toInt();
            if (mark >= StoreModel::Changed) {
                Change change = *store.subject(index);
                if (mark == StoreModel::Removed)
                    change.kind = Change::Removed;
                found << describeSubject(change) + u' ' + describeAspect(change) + u' ' +
                             index.siblingAtColumn(StoreModel::BeforeColumn).data().toString();
            }
            found << highlights(index);
        }
        return found;
    }
};

void tst_Viewer::initTestCase()
{
    QVERIFY(m_dir.isValid());
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir.path());
    QCoreApplication::setOrganizationName(u"vmdatabase-test"_s);
    QCoreApplication::setApplicationName(u"tst_viewer"_s);
}

void tst_Viewer::moments_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("a day") << desktops;
    QTest::newRow("several databases, cases, removals, policies, odd uuids") << write(u"odd.jsonl"_s, R"(
["setPoolNodeValue","a",4,"s"]
["setPoolNodeValue","a",0,"other"]
["setNodeValue","a","m",2,0,"dropped"]
["setNodeValue","a","m",2,0,"later"]
["setPolicyValue","a","n",0,1,"x"]
["setPolicyValue","a","",0,1,"x"]
["resetNodeValue","a","n",2,204]
{"call":["setPoolNodeValue","b",308,"0"],"database":2}
{"call":["setPoolNodeValue","b",307,"g"],"database":2}
{"call":["setPoolNodeValue","c",307,"g"],"database":2}
{"call":["setPoolNodeValue","c",306,"1"],"database":2}
{"call":["dealVmPools"],"database":2}
{"call":["setNodeValue","c","m",2,204,"1"],"database":2}
{"call":["setPoolNodeValue","b",308,"0"],"database":2}
{"call":["~VmDatabase"],"database":2}
["getPoolNodeValue","read",3]
["setRemoteAppValue","app",10,"k"]
["setRemoteAppControlPolicy","app",{"a":1}]
["getRemoteAppControlPolicy","listed"]
["setSaasAppValue","app",10,"k"]
["removeNode","later"]
["removeNode","m"]
["deleteRemoteApp","app"]
["removeFamilyByParentUuid","other"]
["removeChildrenByParentUuid","a"]
{"case":"next"}
["setPoolNodeValue","a",307,"g"]
["setNodeValue","a","m",2,3,"M"]
["wheelVmGroup","g"]
["removeNodesByServerIp",""]
["setSaasAppValue","app",10,"k"]
["clear"]
["setPoolNodeValue","a",3,"x"]
)");
}

/// Every moment is what a player that follows changes has then, from wherever one comes; what is highlighted, explained
/// and listed is what the other views of the feed say.
void tst_Viewer::moments()
{
    QFETCH(QString, file);
    Viewer viewer;
    QVERIFY(load(viewer.document, file));

    QStringList dumps, reasons, histories;
    QVector<QStringList> changes;
    const QStringList pools{u"p-10"_s, u"p-11"_s, u"p-30"_s, u"a"_s, u"b"_s, u"c"_s, u"read"_s, u"none"_s};
    QMap<QString, Explanation> explanations;
    for (const QString &pool : pools)
        explanations.insert(pool, Explanation(pool));
    History history(u"p-11:HiddenKey"_s);
    QFile feed(file);
    QVERIFY(feed.open(QIODevice::ReadOnly));
    FeedReader reader(feed);
    FeedPlayer player(FeedPlayer::FollowsChanges);
    QString entries;
    for (FeedLine line; reader.next(line);) {
        if (line.kind == FeedLine::Blank && line.call.isEmpty() &&
            viewer.document.rowOfLine(int(reader.lineNumber())) < dumps.size())
            continue; // an empty line
        const Outcome outcome = player.play(line);
        const PlayedCall played{
            {QFileInfo(file).fileName(), reader.lineNumber()}, line, outcome, player.stored(line.database)};
        QString why;
        for (auto it = explanations.begin(); it != explanations.end(); ++it) {
            it->follow(played);
            if (it->databases().contains(line.database))
                why += toText(it->at(line.database, played.stored));
        }
        const QVector<History::Entry> found = history.follow(played);
        for (const History::Entry &entry : found)
            entries += QStringLiteral("%1 %2\n").arg(entry.place.line).arg(describeValues(entry.change));
        QStringList marks;
        for (const Change &change : outcome.changes) {
            const bool isWhole = change.kind == Change::Added || change.kind == Change::Removed;
            marks << describeSubject(change) + u' ' + describeAspect(change) + u' ' +
                         (isWhole                                       ? describeAspect(change)
                          : change.before.value_or(QString()).isEmpty() ? describeBefore(change)
                                                                        : *change.before);
        }
        marks.sort();
        dumps << drawDump(player.stored(line.database));
        changes << marks;
        reasons << why;
        histories << entries;
    }
    QCOMPARE(viewer.document.rowCount(), dumps.size());

    std::vector<int> rows(size_t(dumps.size()));
    std::iota(rows.begin(), rows.end(), 0);
    std::vector<int> path = rows; // there, back and across
    path.insert(path.end(), rows.rbegin(), rows.rend());
    std::shuffle(rows.begin(), rows.end(), std::mt19937(1));
    path.insert(path.end(), rows.begin(), rows.end());
    for (const int row : path) {
        viewer.go(row);
        const QByteArray place = QByteArray::number(viewer.document.row(row).line);
        if (viewer.document.row(row).kind == FeedLine::Call) {
            QVERIFY2(drawDump(viewer.moment.after()) == dumps[row], place);
            QString why;
            for (const QString &pool : pools) {
                if (const auto explanation = explainPool(viewer.document, row, pool))
                    why += toText(*explanation);
            }
            QCOMPARE(why, reasons[row]);
        }
        QStringList marks = viewer.highlights();
        marks.sort();
        QCOMPARE(marks, changes[row]);
        viewer.history.show(Change{Change::Pools, Change::Value, u"p-11"_s, {}, 0, VdiVM::HiddenKey, {}, {}}, 1, row);
        QString entriesShown;
        for (int i = 0; i < viewer.history.rowCount(); ++i) {
            const auto text = [&](int column) { return viewer.history.index(i, column).data().toString(); };
            const QString before = text(HistoryModel::BeforeColumn);
            entriesShown += text(HistoryModel::LineColumn) + u' ' + before +
                            (before.isEmpty() ? u""_s : u" -> "_s + text(HistoryModel::AfterColumn)) + u'\n';
        }
        if (file == desktops && row < viewer.document.find(row, FeedRow::Closes, true)) // then all is removed
            QCOMPARE(entriesShown, histories[row]);
    }
}

/// The row of the comment with this time in the day's feed.
static int rowOf(const FeedDocument &document, const QString &time)
{
    int row = 0;
    while (row < document.rowCount() && !CallsModel::describe(document, row).startsWith(time))
        ++row;
    return row;
}

void tst_Viewer::cards()
{
    Viewer viewer;
    const FeedDocument &document = viewer.document;
    QVERIFY(load(viewer.document, desktops));
    const auto at = [&](const QString &time) { return rowOf(document, time); };
    const auto decision = [&](int row) { return document.find(row, FeedRow::Decision, true); };
    const QString others = u"; Office shown OFFICE-01* OFFICE-02; Kiosk hidden KIOSK-01 m-302; Retired hidden OLD-01"_s;
    const QMap<int, QString> expected{
        {0, u"Design B undecided [Design B, Design A]; Office undecided; Kiosk undecided; Retired undecided"_s},
        {decision(at(u"08:01"_s)), u"Design B shown [Design B, Design A]"_s + others},
        {decision(at(u"08:02"_s)), u"Design B shown [Design B, Design A]"_s + others},
        {at(u"08:03"_s) + 1, u"Design B shown [Design A, Design B failed]"_s + others},
        {decision(at(u"08:03"_s)), u"Design A shown [Design A, Design B failed]"_s + others},
        {decision(at(u"08:04"_s)), u"Design B shown [Design B failed, Design A failed]"_s + others},
        {decision(at(u"08:05"_s)), u"Design B hidden [Design B, Design A failed] m-111*"_s + others},
        {decision(decision(at(u"08:05"_s))), u"Design B shown [Design B, Design A failed] m-111*"_s + others},
        {decision(at(u"16:00"_s)),
         u"Design B shown [Design B, Design A failed] m-111*; Office shown OFFICE-01*; Kiosk shown"_s},
        {document.rowCount() - 1, {}}};
    QCOMPARE(expected.size(), 10);
    QList<int> rows = expected.keys();
    rows[0] = rowOf(document, u"the machines in them"_s);
    for (int i = 0; i < 2 * rows.size(); ++i) { // there and back
        const int row = i < rows.size() ? i : 2 * rows.size() - 1 - i;
        viewer.go(rows[row]);
        QCOMPARE(viewer.cards(), expected.values()[row]);
    }
    viewer.desktops.setShowsHidden(false);
    viewer.go(decision(at(u"08:05"_s)));
    QCOMPARE(viewer.cards(), u"Office shown OFFICE-01* OFFICE-02"_s);
    QCOMPARE(viewer.desktops.summary(), u"1 shown, 3 hidden"_s);
}

void tst_Viewer::marks()
{
    Viewer viewer;
    QVERIFY(load(viewer.document, write(u"marks.jsonl"_s, R"({"feed":1,"recorded":"today"}
{"call":["setPoolNodeValue","p",3,"A"],"thread":"feeder","entered":1,"at":0.1,"took":5}
{"call":["setPoolNodeValue","q",3,"B"],"thread":"feeder","entered":3,"at":0.30002,"took":10}
{"call":["getVmPoolNameList"],"thread":"main","entered":2,"at":0.3,"took":50,"answer":["p"]}
["dealVmPools"]
["dealVmPools"]
{"call":["getPoolNodeValue","p",308],"answer":"1"}
["getParentUuid",""]
no JSON
["getNothing"]
["getItemUuid"]
{"unfinished":[{"call":["clear"],"thread":"main","entered":4},{"call":["dealVmPools"]}],"signal":"SIGSEGV"}
{"threads":"main: clear  beside  2: clear"})")));
    const FeedDocument &document = viewer.document;
    QStringList flags;
    for (int row = 0; row < document.rowCount(); ++row)
        flags << CallsModel::marks(document.row(row));
    QCOMPARE(
        flags.join(u" | "_s),
        u" |  |  | differs from the recording, thread conflict | changes what is shown | decision | differs from the "
        "recording | critical line | not played | not played | not played | did not return | thread conflict"_s);
    QVERIFY(document.report(3).contains(u"main: getVmPoolNameList  beside  feeder: setPoolNodeValue(\"q\")"_s));
    QVERIFY(document.report(6).contains(u"answers \"0\", recorded \"1\""_s));
    QVERIFY(document.report(9).contains(u"unknown operation"_s));
    QCOMPARE(CallsModel::describe(document, 11), u"Did not return: clear(), dealVmPools() (SIGSEGV)"_s);
    QVERIFY(document.hasTimes() && document.hasThreads());
    QCOMPARE(viewer.problems.rowCount(), 8);
    QCOMPARE(document.find(3, FeedRow::Problem, true), 6);
    QCOMPARE(document.find(6, FeedRow::Problem, false), 3);
    QCOMPARE(document.find(3, FeedRow::Problem, false), -1);
    QCOMPARE(document.findCall(3, false), 2);
    QCOMPARE(document.rowOfLine(0), -1);
    QCOMPARE(document.rowOfLine(100), document.rowCount() - 1);
}

void tst_Viewer::follow()
{
    const QString path = write(u"grows.jsonl"_s, "[\"setPoolNodeValue\",\"a\",3,\"A\"]\n[\"setPool");
    MainWindow window;
    window.open(path, true);
    QTRY_COMPARE(window.document().rowCount(), 1);
    QTRY_COMPARE(window.moment().row(), 0);
    QFile file(path);
    QVERIFY(file.open(QIODevice::Append));
    file.write("NodeValue\",\"b\",3,\"B\"]\n[\"dealVmPools\"]\n[\"cut");
    file.flush();
    QTRY_COMPARE(window.document().rowCount(), 3);
    QTRY_COMPARE(window.moment().row(), 2);
    QCOMPARE(window.moment().after().pools[u"b"_s].values[VdiVM::HiddenKey], u"0"_s);
    window.goToLine(1); // who looks at something is left there
    file.write("\"]\n");
    file.flush();
    QTRY_COMPARE(window.document().rowCount(), 4);
    QCOMPARE(window.moment().row(), 0);
    write(u"grows.jsonl"_s, "[\"getItemCount\"]\n"); // a new recording in its place
    QTRY_COMPARE(window.document().rowCount(), 1);
    QTRY_COMPARE(window.document().row(0).answer, u"0"_s);
}

void tst_Viewer::badFeeds()
{
    MainWindow window;
    QSignalSpy failed(&window, &MainWindow::failed);
    QSignalSpy ready(&window, &MainWindow::ready);
    window.open(desktops);
    QTRY_COMPARE(ready.count(), 1);
    const int rows = window.document().rowCount();
    for (const QString &path : {m_dir.filePath(u"missing"_s), m_dir.path()}) {
        failed.clear();
        window.open(path);
        QTRY_COMPARE(failed.count(), 1);
        QVERIFY(failed[0][0].toString().startsWith(path + u": "_s));
        QTRY_VERIFY(window.findChild<QMessageBox *>());
        delete window.findChild<QMessageBox *>();
        QCOMPARE(window.document().rowCount(), rows); // what was there stays
    }
    ready.clear();
    window.open(write(u"empty.jsonl"_s, ""));
    QTRY_COMPARE(ready.count(), 1);
    QCOMPARE(window.document().rowCount(), 0);
    for (QAction *action : window.findChildren<QAction *>()) { // none of them needs a feed
        if (action->shortcut().isEmpty() || action->text().contains(u"..."_s) || action->text().contains(u"Quit"_s))
            continue;
        action->trigger();
    }
    ready.clear();
    static const char bytes[] = "\xef\xbb\xbf[\"getItemCount\"]\r\n\0\xff\xfe\r\n\r\n{\r\n[\"clear\"]";
    window.open(write(u"bytes.jsonl"_s, QByteArray(bytes, sizeof bytes - 1)));
    QTRY_COMPARE(ready.count(), 1);
    QCOMPARE(window.document().rowCount(), 4);
    QCOMPARE(window.document().row(0).answer, u"0"_s);
    QCOMPARE(window.findChildren<QTableView *>().size(), 4);
    QCOMPARE(window.document().find(0, FeedRow::Problem, true), 1);
    QCOMPARE(window.document().find(1, FeedRow::Problem, true), 2);
    ready.clear();
    window.open(write(u"killed.jsonl"_s, "{\"recorded\":\"today\"}\n{\"call\":[\"cl"));
    QTRY_COMPARE(ready.count(), 1);
    QCOMPARE(window.document().find(0, FeedRow::Problem, true), -1);
    QCOMPARE(CallsModel::describe(window.document(), 1), u"Cut off: {\"call\":[\"cl"_s);
}

void tst_Viewer::aMillionCalls()
{
    QFile day(desktops);
    QVERIFY(day.open(QIODevice::ReadOnly));
    QByteArray calls;
    const QList<QByteArray> lines = day.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith('[') && line != "[\"clear\"]")
            calls += line + '\n';
    }
    const QByteArray text = calls.repeated(many / calls.count('\n') + 1);
    const QString path = write(u"many.jsonl"_s, text);

    MainWindow window;
    window.show();
    QSignalSpy ready(&window, &MainWindow::ready);
    QTimer beat;
    QElapsedTimer time, sinceBeat;
    qint64 longest = 0;
    connect(&beat, &QTimer::timeout, this, [&] { longest = std::max(longest, sinceBeat.restart()); });
    beat.start(1);
    time.start();
    sinceBeat.start();
    window.open(path);
    QTRY_COMPARE_WITH_TIMEOUT(ready.count(), 1, 4 * openTime);
    const qint64 opened = time.elapsed();
    QVERIFY(window.document().rowCount() >= many);
    qInfo("%d calls opened in %lld ms, longest wait %lld ms", window.document().rowCount(), opened, longest);

    qint64 slowest = 0;
    window.selectPool(u"p-11"_s);
    const int first = window.document().rowCount() - std::min(many, 100000);
    for (int row = window.document().rowCount() - 1; row >= first; row -= (many / 100) | 1) {
        for (const int to : {row, row - 1, first + (window.document().rowCount() - 1 - row)}) {
            time.restart();
            window.moment().moveTo(to);
            QCoreApplication::processEvents();
            slowest = std::max(slowest, time.elapsed());
        }
    }
    qInfo("a step back or across takes at most %lld ms", slowest);
    time.restart();
    window.findChild<QLineEdit *>()->setText(u"not in it"_s);
    window.findChild<QAction *>(u"findNext"_s)->trigger();
    window.findChild<QLineEdit *>()->setText(u"removeNode(\"m-202\")"_s);
    window.findChild<QAction *>(u"findNext"_s)->trigger();
    QTRY_VERIFY(window.document().text(window.moment().row()) == u"[\"removeNode\", \"m-202\"]"_s);

    ready.clear();
    connect(&window.document(), &FeedDocument::appended, window.findChild<QToolButton *>(u"cancel"_s),
            &QToolButton::click); // at the first that arrives
    window.open(path);
    QTRY_COMPARE(ready.count(), 1);
    const int rows = window.document().rowCount();
    QVERIFY(rows > 0 && rows < many);
    QTest::qWait(200);
    QCOMPARE(window.document().rowCount(), rows);
    if (isTimed) {
        QVERIFY2(opened <= openTime, qPrintable(QString::number(opened)));
        QVERIFY2(longest <= 500, qPrintable(QString::number(longest)));
        QVERIFY2(slowest <= 150, qPrintable(QString::number(slowest)));
    }
}

void tst_Viewer::window()
{
    MainWindow window;
    QSignalSpy ready(&window, &MainWindow::ready);
    window.open(desktops, false, 46, u"p-11"_s);
    QTRY_COMPARE(ready.count(), 1);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const auto line = [&] { return window.document().row(window.moment().row()).line; };
    const auto press = [&](Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : &window, key, modifiers);
        return line();
    };
    QApplication::setActiveWindow(&window);
    const auto at = [&](const QString &time) { return window.document().row(rowOf(window.document(), time)).line; };
    const int drawn = at(u"08:01"_s) + 1;
    const int turned = at(u"08:03"_s) + 2;
    window.goToLine(drawn - 1);
    QCOMPARE(press(Qt::Key_Down, Qt::ControlModifier), drawn);
    QVERIFY(press(Qt::Key_Up, Qt::ControlModifier) < drawn - 1); // past the comment
    QCOMPARE(press(Qt::Key_E, Qt::ControlModifier), drawn);
    QCOMPARE(press(Qt::Key_E, Qt::ControlModifier), turned); // the turn between shows what is shown already
    QCOMPARE(press(Qt::Key_D, Qt::ControlModifier | Qt::ShiftModifier), at(u"08:02"_s) + 1);
    QCOMPARE(press(Qt::Key_D, Qt::ControlModifier), turned);
    QCOMPARE(press(Qt::Key_Home, Qt::ControlModifier), 1);
    QCOMPARE(press(Qt::Key_F8), 1); // there is none
    QVERIFY(press(Qt::Key_End, Qt::ControlModifier) > at(u"17:00"_s));
    window.findChild<Timeline *>()->setValue(window.document().rowOfLine(turned));
    QCOMPARE(line(), turned);
    auto *why = window.findChild<QTextBrowser *>();
    QTRY_VERIFY(why->toPlainText().contains(u"desktops.jsonl:%1"_s.arg(turned)));
    QVERIFY(why->toPlainText().contains(u"keyUuid:  \"p-1"_s)); // two spaces, as it was logged
    Q_EMIT why->anchorClicked(QUrl(u"line:11"_s));
    QCOMPARE(line(), 11);

    auto *find = window.findChild<QLineEdit *>();
    find->setText(u"hiddenkey"_s); // stands in the file as a number
    QTest::keyClick(find, Qt::Key_Return);
    QTRY_COMPARE(line(), drawn + 1);
    press(Qt::Key_F3, Qt::ShiftModifier);
    QTRY_VERIFY(line() > at(u"16:00"_s));

    window.goToLine(drawn);
    auto *play = window.findChild<QAction *>(u"play"_s);
    play->trigger();
    QTRY_VERIFY(line() > drawn + 1);
    play->trigger();

    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QStringLiteral(FEEDS_DIR "/pool-server.jsonl"))});
    QDragEnterEvent enter({}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent drop({}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    ready.clear();
    QCoreApplication::sendEvent(&window, &drop);
    QTRY_COMPARE(ready.count(), 1);
    QCOMPARE(window.windowTitle().section(u' ', 0, 0), u"pool-server.jsonl"_s);
    auto *recent = window.findChild<QMenu *>(u"recent"_s);
    Q_EMIT recent->aboutToShow();
    QCOMPARE(recent->actions().value(0)->text(), u"pool-server.jsonl"_s);
    QCOMPARE(recent->actions().value(1)->text(), u"desktops.jsonl"_s);

    window.resize(1000, 700);
    window.findChild<QSplitter *>()->setSizes({100, 400});
    const QList<int> sizes = window.findChild<QSplitter *>()->sizes();
    window.close();
    MainWindow again;
    again.show();
    QCOMPARE(again.size(), QSize(1000, 700));
    QCOMPARE(again.findChild<QSplitter *>()->sizes(), sizes);
}

/// Whoever cannot use a mouse or see the window reaches and hears everything.
void tst_Viewer::panels()
{
    const QByteArray hostile = "[\"setPoolNodeValue\",\"p\",3,\"" +
                               QByteArray("\xd7\xa9\xd7\x95\xd7\x9c\xd7\x97\xd7\x9f ").repeated(300) +
                               "\"]\n[\"setPoolNodeValue\",\"p\",307,\"<b>&amp;\"]\n[\"setNodeValue\",\"p\","
                               "\"\\n\\u0000\",2,3,\"x\"]\n[\"dealVmPools\"]\n";
    for (const Qt::LayoutDirection direction : {Qt::LeftToRight, Qt::RightToLeft}) {
        QGuiApplication::setLayoutDirection(direction);
        MainWindow window;
        QSignalSpy ready(&window, &MainWindow::ready);
        window.open(write(u"hostile.jsonl"_s, hostile), false, 4, u"p"_s);
        QTRY_COMPARE(ready.count(), 1);
        window.resize(700, 500);
        window.show();
        QVERIFY(!window.grab().isNull());
        QVERIFY(window.findChild<QTextBrowser *>()->toPlainText().contains(u"<b>&amp;"_s));
        for (QWidget *widget : window.findChildren<QWidget *>()) {
            const bool isPart = qobject_cast<QScrollBar *>(widget) || qobject_cast<QHeaderView *>(widget) ||
                                qobject_cast<QTabBar *>(widget) || qobject_cast<QTabWidget *>(widget) ||
                                qobject_cast<QMenuBar *>(widget) || widget->objectName().startsWith(u"qt_"_s) ||
                                qobject_cast<QAbstractItemView *>(widget->parentWidget()) ||
                                qobject_cast<QToolBar *>(widget->parentWidget()) || widget->isWindow();
            if ((widget->focusPolicy() & Qt::TabFocus) && !isPart)
                QVERIFY2(!QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name).isEmpty(),
                         widget->metaObject()->className());
        }
        QSet<QKeySequence> keys;
        for (QAction *action : window.findChildren<QAction *>()) {
            if (action->shortcut().isEmpty())
                continue;
            QVERIFY2(!keys.contains(action->shortcut()), qPrintable(action->text()));
            keys << action->shortcut();
        }
        QVERIFY(keys.size() > 20);
        const QAbstractItemModel *cards = window.findChild<QListView *>()->model();
        QVERIFY(cards->index(0, 0).data(Qt::AccessibleTextRole).toString().contains(u"hidden"_s));
    }
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

void tst_Viewer::screenshot()
{
    const auto run = [&](const QStringList &arguments) {
        QProcess process;
        process.start(QStringLiteral(VIEWER), arguments);
        return process.waitForFinished(30000) && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    };
    const QString png = m_dir.filePath(u"shot.png"_s);
    const QStringList options{u"--size"_s, u"900x600"_s, u"--screenshot"_s};
    QCOMPARE(run(options + QStringList{png, u"--at"_s, u"57"_s, u"--pool"_s, u"p-11"_s, desktops}), 0);
    QCOMPARE(QImage(png).size(), QSize(900, 600));
    QCOMPARE(run(options + QStringList{m_dir.filePath(u"no/such.png"_s), desktops}), 1);
    QCOMPARE(run(options + QStringList{png, m_dir.filePath(u"missing"_s)}), 1);
    for (const QStringList &wrong :
         {QStringList{u"--at"_s, u"x"_s, desktops}, QStringList{u"--at"_s, u"3"_s}, QStringList{desktops, desktops},
          QStringList{u"--size"_s, u"9"_s, desktops}, QStringList{u"--bogus"_s}, QStringList{u"--size"_s, u"9x9x9"_s},
          QStringList{u"--size"_s, u"9x16385"_s}, QStringList{u"--screenshot"_s},
          options + QStringList{png, u"--follow"_s, desktops}})
        QCOMPARE(run(wrong), 2);
}

QTEST_MAIN(tst_Viewer)
#include "tst_viewer.moc"
