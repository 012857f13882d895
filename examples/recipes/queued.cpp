// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// All calls on one thread, here the main one; another thread queues what it has for the database.

#include <vmdatabase/vmdatabase.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QThread>

#include <memory>

namespace {

// Called on any thread. The functor runs in the event loop of the thread that created the database.
void storeName(VmDatabase &database, const QString &pool, const QString &name)
{
    const auto store = [&database, pool, name] { database.setPoolNodeValue(pool, VdiVM::NameKey, name); };
    QMetaObject::invokeMethod(&database, store, Qt::QueuedConnection);
}

// Called on any other thread than the database's, since it waits for that one's event loop.
QString askName(VmDatabase &database, const QString &pool)
{
    QString name;
    const auto ask = [&database, pool] { return database.getPoolNodeValue(pool, VdiVM::NameKey); };
    QMetaObject::invokeMethod(&database, ask, Qt::BlockingQueuedConnection, &name);
    return name;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    VmDatabase database;
    const QString pool = QStringLiteral("pool-1"), office = QStringLiteral("Office");
    QString answer;
    const std::unique_ptr<QThread> feeder(QThread::create([&] {
        storeName(database, pool, office);
        answer = askName(database, pool);
    }));
    QObject::connect(feeder.get(), &QThread::finished, &application, &QCoreApplication::quit);
    feeder->start();
    QCoreApplication::exec();
    feeder->wait();
    return answer == office && database.getItemCount() == 1 ? 0 : 1;
}
