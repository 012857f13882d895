// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// What scripts/bench-record.sh runs alone and recorded: recordcalls THREADS CALLS makes that many calls on each thread,
// half of them reading, and prints what one costs: the time that goes by and the processor's time.

#include <vmdatabase/vmdatabase.h>

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

static double processorTime()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

int main(int argc, char **argv)
{
    const int threadCount = argc > 1 ? std::atoi(argv[1]) : 1;
    const int calls = argc > 2 ? std::atoi(argv[2]) : 100000;
    VmDatabase database;
    const auto work = [&database, calls](int number) {
        const QString pool = QStringLiteral("pool-%1").arg(number);
        const QString value = QStringLiteral("10.20.30.40");
        for (int i = 0; i < calls / 2; ++i) {
            database.setPoolNodeValue(pool, VdiVM::ServerIpKey, value);
            database.getPoolNodeValue(pool, VdiVM::ServerIpKey);
        }
    };
    for (int i = 0; i < threadCount; ++i)
        database.setPoolNodeValue(QStringLiteral("pool-%1").arg(i), VdiVM::NameKey, QStringLiteral("Office"));

    const auto begin = std::chrono::steady_clock::now();
    const double processorBegin = processorTime();
    std::vector<std::thread> threads;
    for (int i = 1; i < threadCount; ++i)
        threads.emplace_back(work, i);
    work(0);
    for (std::thread &thread : threads)
        thread.join();
    const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - begin;
    std::printf("%.3f %.3f\n", time.count() / calls, (processorTime() - processorBegin) * 1e6 / calls / threadCount);
    return 0;
}
