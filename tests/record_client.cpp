// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// Clients to be recorded, one for each name that the command line may give. None knows of the recording.

#include <vmdatabase/vmdatabase.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonObject>

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

static QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

static VmDatabase *handled = nullptr; // what the message handler calls

static void handle(QtMsgType, const QMessageLogContext &, const QString &line)
{
    std::printf("%s\n", qPrintable(line));
    if (VmDatabase *const database = std::exchange(handled, nullptr)) {
        database->getItemTypeByUuid(text("from the handler"));
        qInfo("of the client");
    }
}

static void texts()
{
    VmDatabase database;
    const ushort halves[] = {'a', 0xd800, 'b', 0xdc00, 0xd83d, 0xde00, 0, 0x7f, 0xe4, '"', '\\', '\n'};
    for (const QString &value : {QString(), text(""), QString::fromUtf16(halves, 12), QString(100000, u'\u4e2d')}) {
        database.setPoolNodeValue(text("p"), VdiVM::NameKey, value);
        database.getPoolNodeValue(text("p"), VdiVM::NameKey);
    }
    database.getPoolNodeValue(text("p"), -1);
    QString uuid = text("as it was");
    database.wheelVmGroup(text("none"), uuid);
    database.setPoolNodeValue(text("p"), VdiVM::GroupKey, text("some"));
    database.wheelVmGroup(text("some"), uuid);
    database.setRemoteAppValue(text("a"), 3, QString(QChar(0xd800)));
    database.setRemoteAppControlPolicy(text("a"),
                                       {{text("deep"), QJsonObject{{text("list"), QString(QChar(0xdfff))}}}});
    database.getRemoteAppControlPolicy(text("a"));
    database.getAppsInfo();
}

static void slotsAndHandlers()
{
    VmDatabase first;
    qInstallMessageHandler(handle);
    VmDatabase second;
    QObject::connect(&first, &VmDatabase::remoteAppsUpdated, [&] {
        qInfo("of the client");
        first.setRemoteAppValue(text("from the slot"), 3, text("x"));
        second.setRemoteAppEnd();
        first.setRemoteAppValue(text("from the slot"), 3, text("y"));
    });
    first.setRemoteAppValue(text("gone"), 3, text("x"));
    first.clearRemoteAppList();
    first.getAppNames();
    handled = &second;
    first.getParentUuid(QString()); // logs, so that the handler calls
    first.dealVmPools();
    second.clear();
    second.getItemCount();
    first.removeFamilyByParentUuid(text("unknown"));
}

static void threads(int milliseconds)
{
    VmDatabase database;
    std::atomic<bool> stop{false};
    std::vector<std::thread> all;
    for (int i = 0; i < 4; ++i)
        database.setNodeValue(QString::number(i), QString::number(i), VdiVM::ItemNode, VdiVM::NameKey, text("x"));
    for (int i = 0; i < 4; ++i) {
        const QString pool = QString::number(i);
        all.emplace_back([&database, &stop, pool, i] {
            for (int n = 0; !stop; ++n) {
                database.setPoolNodeValue(pool, n % 100, QString::number(n));
                database.getPoolNodeValue(QString::number((i + 1) % 4), n % 100);
                database.setPolicyValue(pool, pool, VdiVM::PolicyType(1), n % 7, pool);
                database.getParentUuid(QString()); // logs
                database.setRemoteAppEnd();
                VmDatabase own;
                own.dealVmPools();
            }
        });
    }
    usleep(useconds_t(milliseconds) * 1000);
    stop = true;
    for (std::thread &thread : all)
        thread.join();
}

// Prints how many calls have returned, until it is killed.
static void count()
{
    VmDatabase database;
    for (int i = 1;; ++i) {
        database.setPoolNodeValue(text("p"), i % 50, QString(i % 300, u'x'));
        (void)!::write(STDOUT_FILENO, &i, sizeof(i));
    }
}

// One thread is in a call, and another crashes in one.
static void crash(bool ofStack)
{
    static VmDatabase waiting, closed;
    closed.clear();
    static std::atomic<bool> isWaiting{false};
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &line) {
        if (line.contains(text("is empty"))) {
            isWaiting = true;
            pause();
        }
    });
    std::thread([] { waiting.getParentUuid(QString()); }).detach();
    while (!isWaiting)
        usleep(100);
    if (ofStack) { // recursion without an end
        QObject::connect(&closed, &VmDatabase::remoteAppsUpdated, [] {
            volatile char room[50000];
            room[0] = 'x';
            closed.setRemoteAppEnd();
            (void)room[0];
        });
        closed.setRemoteAppEnd();
    }
    closed.getAppCount();
}

static void forkAndExec(char **arguments)
{
    VmDatabase database;
    database.setPoolNodeValue(text("p"), 3, text("parent"));
    if (const pid_t child = fork()) {
        waitpid(child, nullptr, 0);
        database.getPoolNodeValue(text("p"), 3);
        std::printf("%d\n", child);
        std::fflush(stdout);
        execv("/proc/self/exe", arguments);
    }
    for (int fd = 3; fd < 4096; ++fd)
        close(fd); // as a daemon does
    database.setPoolNodeValue(text("p"), 3, text("child"));
    for (int fd = 3; fd < 4096; ++fd)
        close(fd);
    database.getPoolNodeValue(text("p"), 3);
    _exit(0);
}

// A pool is added while another thread is told which there are, if each call is held back for long enough.
static void conflict(const QByteArray &first, const QByteArray &second)
{
    VmDatabase database;
    database.setNodeValue(text("p"), text("i"), VdiVM::ItemNode, 3, text("x"));
    database.setPoolNodeValue(text("p"), VdiVM::ServerIpKey, text("10.0.0.1"));
    const auto call = [&database](const QByteArray &name) {
        if (name == "list")
            database.getVmPoolNameList();
        else if (name == "add")
            database.setPoolNodeValue(text("new"), 3, text("x"));
        else if (name == "read")
            database.getPoolNodeValue(text("p"), 3);
        else if (name == "write")
            database.setPoolNodeValue(text("p"), 3, text("y"));
        else if (name == "removeItem")
            database.removeNode(text("i"));
        else if (name == "removeServer")
            database.removeNodesByServerIp(text("10.0.0.1"));
        else if (name == "count")
            database.getItemCount();
        else if (name == "clear")
            database.clearRemoteAppList();
        else if (name == "apps")
            database.getAppsIdList();
    };
    std::thread other(call, second);
    call(first);
    other.join();
}

// The event loop of the thread that made a pool deletes it, and another thread is at work on it.
static void deletion(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    VmDatabase database;
    database.setPoolNodeValue(text("p"), VdiVM::GroupKey, text("g"));
    std::atomic<bool> isDeciding{false};
    static std::atomic<bool> *deciding = nullptr;
    deciding = &isDeciding;
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &line) {
        if (line.startsWith(text("xx wheelVmGroup"))) {
            *deciding = true;
            usleep(500000);
            _exit(0); // before it uses the pool
        }
    });
    std::thread([&] {
        QString uuid;
        database.wheelVmGroup(text("g"), uuid);
    }).detach();
    while (!isDeciding)
        usleep(100);
    database.removeNode(text("p"));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    pause();
}

// "Every record and every table has a lock", so this must be safe: one feeds and removes, one lists and reads.
static void unsafe()
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    VmDatabase database;
    std::thread([&database] {
        for (int round = 0;; ++round) {
            for (int pool = 0; pool < 5; ++pool) {
                const QString uuid = QString::number(pool);
                database.setPoolNodeValue(uuid, VdiVM::ServerIpKey, text("10.0.0.1"));
                database.setNodeValue(uuid, uuid, VdiVM::ItemNode, VdiVM::ItemStatusKey, text("running"));
            }
            database.removeNodesByServerIp(text("10.0.0.1"));
        }
    }).detach();
    for (;;) {
        database.dealVmPools();
        const QList<QString> uuids = database.getVmPoolNameList();
        for (const QString &uuid : uuids)
            database.getChildrenByParentUuid(uuid);
    }
}

static VmDatabase *beforeMain = [] {
    auto *const database = new VmDatabase;
    database->setPoolNodeValue(text("before"), 3, text("main"));
    return database;
}();
static struct AfterMain
{
    ~AfterMain() { delete beforeMain; }
} afterMain;

int main(int argc, char *argv[])
{
    const QByteArray name = argc > 1 ? argv[1] : "";
    if (name == "texts")
        texts();
    else if (name == "slots")
        slotsAndHandlers();
    else if (name == "threads")
        threads(std::atoi(argv[2]));
    else if (name == "count")
        count();
    else if (name == "crash")
        crash(false);
    else if (name == "overflow")
        crash(true);
    else if (name == "handler") {
        std::signal(SIGSEGV, [](int) {
            (void)!::write(STDOUT_FILENO, "client's\n", 9);
            _exit(3);
        });
        crash(false);
    } else if (name == "fork") {
        char texts[] = "texts";
        argv[1] = texts;
        forkAndExec(argv);
    } else if (name == "conflict")
        conflict(argv[2], argv[3]);
    else if (name == "deletion")
        deletion(argc, argv);
    else if (name == "unsafe")
        unsafe();
    else
        return 4;
    return 0;
}
