// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// A client with two threads and one mutex of its own around every use of the database. A worker stores what three servers
// reply. The main thread decides what to show, draws it as text and opens a desktop. vmdatabase-client [SECONDS]

#include <vmdatabase/vmdatabase.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QJsonObject>
#include <QtCore/QTextStream>
#include <QtCore/QThread>
#include <QtCore/QTimer>

#include <cstdio>
#include <memory>
#include <mutex>

namespace {

const QString group = QStringLiteral("Design");

// Whoever uses the database holds the mutex, also to read: reading can create a pool. Calls that belong together share one
// hold, since the other thread may remove what one call listed before the next one reads it.
struct Store
{
    std::mutex mutex;
    VmDatabase database;
};

// Each server has a desktop of its own and one that it shares with the other servers.
void storePools(VmDatabase &database, int server, bool busy)
{
    const QString number = QString::number(server);
    const QString office = QStringLiteral("office-") + number;
    database.setPoolNodeValue(office, VdiVM::NameKey, QStringLiteral("Office ") + number);
    database.setPoolNodeValue(office, VdiVM::ServerIpKey, QStringLiteral("10.0.0.") + number);
    database.setPoolNodeValue(office, VdiVM::AllowMultiDynamicKey, QStringLiteral("1"));
    const QString machine = QStringLiteral("machine-") + number;
    database.setNodeValue(office, machine, VdiVM::ItemNode, VdiVM::ItemStatusKey,
                          busy ? QStringLiteral("running") : QStringLiteral("stopped"));

    const QString design = QStringLiteral("design-") + number;
    database.setPoolNodeValue(design, VdiVM::NameKey, QStringLiteral("Design ") + number);
    database.setPoolNodeValue(design, VdiVM::ServerIpKey, QStringLiteral("10.0.0.") + number);
    database.setPoolNodeValue(design, VdiVM::GroupKey, group);
    database.setPoolNodeValue(design, VdiVM::PriorityKey, number);
}

void storeApplications(VmDatabase &database, const QStringList &names)
{
    const QList<QString> ids = database.getAppNames();
    for (const QString &id : ids)
        database.deleteRemoteApp(id);
    for (const QString &name : names) {
        database.setRemoteAppValue(name.toLower(), VdiVM::AppSummaryKey, name);
        database.setRemoteAppControlPolicy(name.toLower(), {{QStringLiteral("clipboard"), name.size() > 4}});
    }
    database.setRemoteAppEnd(); // emits remoteAppsUpdated()
}

// One server after the other replies. The third one goes away for a while.
void receive(Store &store, int reply)
{
    const int server = 1 + reply % 3;
    const int round = reply / 3 % 10;
    const std::lock_guard lock(store.mutex);
    if (server == 3 && round >= 7)
        store.database.removeNodesByServerIp(QStringLiteral("10.0.0.3"));
    else
        storePools(store.database, server, round < 5);
    if (server == 1 && round == 0)
        storeApplications(store.database, {QStringLiteral("Editor"), QStringLiteral("Mail")});
    if (server == 1 && round == 5)
        storeApplications(store.database, {QStringLiteral("Editor")});
}

// A thread of its own does this. It runs an event loop, which deletes removed pools and applications that were first
// mentioned here.
void feed(Store &store)
{
    int replies = 0;
    QTimer timer;
    timer.callOnTimeout([&] { receive(store, replies++); });
    timer.start(50);
    QEventLoop().exec();
}

// What a user sees now. Nothing is decided until dealVmPools() is called, and pools have no change signal: a timer asks.
QString desktops(Store &store)
{
    QString text;
    QTextStream out(&text);
    const std::lock_guard lock(store.mutex);
    VmDatabase &database = store.database;
    database.dealVmPools();
    const QList<QString> pools = database.getVmPoolNameList();
    for (const QString &pool : pools) {
        if (database.getPoolNodeValue(pool, VdiVM::HiddenKey) != QLatin1String("0"))
            continue;
        out << "  " << database.getPoolNodeValue(pool, VdiVM::NameKey) << " ("
            << database.getPoolNodeValue(pool, VdiVM::ServerIpKey) << ")";
        const QList<QString> machines = database.getChildrenByParentUuid(pool);
        for (const QString &machine : machines)
            out << ' ' << machine << ' ' << database.getNodeValue(pool, machine, VdiVM::ItemNode, VdiVM::ItemStatusKey);
        out << '\n';
    }
    return text;
}

QString applications(Store &store)
{
    QString text;
    QTextStream out(&text);
    const std::lock_guard lock(store.mutex);
    const QList<QString> ids = store.database.getAppNames();
    for (const QString &id : ids) {
        // A copy: the policy itself ends with its record.
        const QJsonObject policy = store.database.getRemoteAppControlPolicy(id);
        out << "  " << store.database.getRemoteAppValue(id, VdiVM::AppSummaryKey)
            << (policy[QLatin1String("clipboard")].toBool() ? " with clipboard\n" : " without clipboard\n");
    }
    return text;
}

bool nextPool(Store &store, QString &pool)
{
    const std::lock_guard lock(store.mutex);
    return store.database.wheelVmGroup(group, pool);
}

// A write creates a pool that has been removed meanwhile, without a name: ask first.
void markFailed(Store &store, const QString &pool)
{
    const std::lock_guard lock(store.mutex);
    if (store.database.getItemTypeByUuid(pool) == VdiVM::PoolNode)
        store.database.setPoolNodeValue(pool, VdiVM::FailedToConnectKey, QStringLiteral("1"));
}

// Every pool may be tried again.
void clearFailures(Store &store)
{
    const std::lock_guard lock(store.mutex);
    const QList<QString> pools = store.database.getVmPoolNameList();
    for (const QString &pool : pools)
        store.database.setPoolNodeValue(pool, VdiVM::FailedToConnectKey, QStringLiteral("0"));
}

// Takes long, so the mutex is not held. The third server accepts no connection.
bool connectTo(const QString &pool)
{
    QThread::msleep(10);
    return pool != QLatin1String("design-3");
}

// Tries the pools of the group, best first. One that fails is left out until the failures are cleared.
void openDesktop(Store &store, QTextStream &screen)
{
    QString pool;
    while (nextPool(store, pool)) {
        if (connectTo(pool)) {
            screen << "Opened " << pool << "\n\n";
            return;
        }
        screen << "No connection to " << pool << '\n';
        markFailed(store, pool);
    }
    screen << "No desktop to open\n\n";
}

} // namespace

// The library logs each decision: here a hundred lines a second. A handler runs within the call and with the mutex held, so
// it must not use the database.
static QtMessageHandler nextHandler;

static void dropDecisions(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    static const char *const beginnings[] = {
        "poolNode, SET HIDE ",
        "pool allowMultiDynamicDesktop, DO SHOW ",
        "GROUP allowMultiDynamicDesktop, DO SHOW ",
        "GROUP do not have Item, DO SHOW ",
        "xx wheelVmGroup keyUuid: ",
        "wheelVmGroup select keyUuid: ",
    };
    for (const char *beginning : beginnings) {
        if (type == QtInfoMsg && text.startsWith(QLatin1String(beginning)))
            return;
    }
    nextHandler(type, context, text);
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const int seconds = application.arguments().value(1, QStringLiteral("5")).toInt();
    nextHandler = qInstallMessageHandler(dropDecisions); // before other threads start
    QTextStream screen(stdout);
    Store store;

    // Queued: the signal is emitted with the mutex held, and a slot that runs at once would wait for it forever.
    const auto drawApplications = [&] { screen << "Applications\n" << applications(store) << '\n'; };
    QObject::connect(&store.database, &VmDatabase::remoteAppsUpdated, &application, drawApplications,
                     Qt::QueuedConnection);

    QTimer drawing;
    QString drawn;
    drawing.callOnTimeout([&] {
        const QString text = desktops(store);
        if (text != drawn)
            screen << "Desktops\n" << text << '\n';
        drawn = text;
        screen.flush();
    });
    drawing.start(100);
    QTimer opening;
    opening.callOnTimeout([&] { openDesktop(store, screen); });
    opening.start(700);

    QTimer retrying;
    retrying.callOnTimeout([&] { clearFailures(store); });
    retrying.start(2000);
    QTimer ending;
    ending.callOnTimeout(&application, &QCoreApplication::quit);
    ending.start(seconds * 1000);

    const std::unique_ptr<QThread> feeder(QThread::create([&] { feed(store); }));
    feeder->start();
    QCoreApplication::exec();

    // While the feeder's thread runs, it can still delete what it has created.
    {
        const std::lock_guard lock(store.mutex);
        store.database.clearRemoteAppList();
        store.database.clear();
    }
    feeder->quit();
    feeder->wait();
    return 0;
}
