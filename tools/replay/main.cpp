// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// Plays feeds through the library, and prints what it answers, what a user would be shown, and why.

#include "replay.h"

#include <QtCore/QCoreApplication>

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

enum Status { Good = 0, Bad = 1, WrongUsage = 2, Interrupted = 128 + SIGINT };

static volatile std::sig_atomic_t interrupted = 0;

// The first interruption ends the feed, also while a line is waited for; the second one ends the program.
static void stopOnInterruption()
{
    struct sigaction action = {};
    action.sa_handler = [](int) { interrupted = 1; };
    action.sa_flags = int(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
}

// A standard stream that is closed shall fail, not be whatever is opened next in its place.
static void keepStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0)
            ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

int main(int argc, char *argv[])
{
    keepStandardStreams();
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vmdatabase-replay"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VMDATABASE_VERSION));

    const Options options = readOptions(QCoreApplication::arguments());
    if (!options.error.isEmpty()) {
        report(QStringLiteral("vmdatabase-replay: %1\nTry 'vmdatabase-replay --help'.").arg(options.error));
        return WrongUsage;
    }
    Status status = Good;
    if (!options.text.isEmpty()) {
        print(options.text);
    } else {
        stopOnInterruption();
        Replay replay(options);
        status = replay.run(interrupted) ? Good : Bad;
        if (interrupted)
            status = Interrupted;
    }
    if (std::fflush(stdout) != 0) {
        std::perror("vmdatabase-replay: standard output");
        return Bad;
    }
    return status;
}
