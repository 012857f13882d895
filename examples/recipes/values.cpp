// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// Values only: everything is created before the second thread starts, and nothing is added or removed while it runs.

#include <vmdatabase/vmdatabase.h>

#include <QtCore/QThread>

#include <memory>

int main()
{
    VmDatabase database;
    const QString pool = QStringLiteral("pool-1"), machine = QStringLiteral("machine-1");
    const QString stopped = QStringLiteral("stopped"), running = QStringLiteral("running");
    database.setNodeValue(pool, machine, VdiVM::ItemNode, VdiVM::ItemStatusKey, stopped);

    // The pool and the machine exist. From here on each thread reads and writes their values.
    const std::unique_ptr<QThread> feeder(QThread::create([&] {
        database.setNodeValue(pool, machine, VdiVM::ItemNode, VdiVM::ItemStatusKey, running);
        database.setPolicyValue(pool, machine, VdiVM::PolicyType(3), 1, QStringLiteral("no clipboard"));
    }));
    feeder->start();
    QString status;
    while (status != running)
        status = database.getNodeValue(pool, machine, VdiVM::ItemNode, VdiVM::ItemStatusKey);
    feeder->wait();

    // One thread again: it may list, decide, add and remove.
    database.removeNode(pool);
    return database.getVmPoolNameList().isEmpty() ? 0 : 1;
}
