// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// Runs a program in its own place, with a library before it that writes down what it does with its databases.

#include "operations/keynames.h"
#include "options.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <limits>

enum { WrongUsage = 2, NotRun = 126, NotFound = 127 };

[[noreturn]] static void fail(const QString &text, int status)
{
    std::fprintf(stderr, "vmdatabase-record: %s\n", qPrintable(text));
    if (status == WrongUsage)
        std::fprintf(stderr, "Try vmdatabase-record --help.\n");
    std::exit(status); // NOLINT(concurrency-mt-unsafe): there is one thread
}

// Beside the program in the place where it was built, or where both were installed.
static QString findLibrary()
{
    const QDir dir = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalPath();
    for (const char *place : {".", LIBRARY_DIR}) {
        QString name = QDir::cleanPath(dir.filePath(QLatin1String(place)) + QStringLiteral("/" LIBRARY_NAME));
        if (!QFileInfo::exists(name))
            continue;
        if (name.contains(QLatin1Char(' ')) || name.contains(QLatin1Char(':')))
            fail(QStringLiteral("%1: cannot be preloaded, expected a path without blanks and colons").arg(name), 1);
        return name;
    }
    fail(QStringLiteral(LIBRARY_NAME " is not in %1").arg(QDir::cleanPath(dir.filePath(QStringLiteral(LIBRARY_DIR)))),
         1);
}

static QVector<int> readKeys(const QString &text)
{
    QVector<int> keys;
    const QStringList names = text.split(QLatin1Char(','));
    for (const QString &name : names) {
        bool isNumber = false;
        int key = name.toInt(&isNumber);
        if (!isNumber && !numberOf(name, NamedNumbers::NodeKeys, &key) && !numberOf(name, NamedNumbers::AppKeys, &key))
            fail(QStringLiteral("--redact: \"%1\" is no key, expected a number or a name as NameKey").arg(name),
                 WrongUsage);
        keys << key;
    }
    return keys;
}

static qint64 readSize(QString text)
{
    const QString units = QStringLiteral("kMG");
    const int unit = text.isEmpty() ? -1 : units.indexOf(text.back());
    if (unit >= 0)
        text.chop(1);
    bool isNumber = false;
    const qint64 size = text.toLongLong(&isNumber);
    if (!isNumber || size < 1 || size > (std::numeric_limits<qint64>::max() >> 30))
        fail(QStringLiteral("--max-size: expected a number of bytes, or one with k, M or G behind it"), WrongUsage);
    return size << (10 * (unit + 1));
}

// Where execvp() finds the program; empty, with errno, if it cannot be run.
static QByteArray findProgram(const QByteArray &name)
{
    const bool isPath = name.isEmpty() || name.contains('/');
    const QByteArray path = qEnvironmentVariableIsSet("PATH") ? qgetenv("PATH") : QByteArrayLiteral("/bin:/usr/bin");
    const QList<QByteArray> dirs = isPath ? QList<QByteArray>{QByteArray()} : path.split(':');
    int error = ENOENT;
    for (const QByteArray &dir : dirs) {
        QByteArray file = dir.isEmpty() ? name : dir + '/' + name;
        struct stat status = {};
        const bool exists = stat(file.constData(), &status) == 0;
        if (exists && S_ISREG(status.st_mode) && eaccess(file.constData(), X_OK) == 0)
            return file;
        if (exists || errno == EACCES)
            error = EACCES;
        else if (isPath)
            error = errno;
    }
    errno = error;
    return {};
}

[[noreturn]] static void failToRun(const char *program, int error)
{
    fail(QStringLiteral("%1: %2").arg(QString::fromLocal8Bit(program), qt_error_string(error)),
         error == ENOENT ? NotFound : NotRun);
}

// Empties the file, so that an old recording does not stand for a new one; what cannot be written is found out now.
static void prepareFile(const QByteArray &name)
{
    struct stat status = {};
    if (stat(name.constData(), &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode)))
        fail(QStringLiteral("%1: is a pipe, expected a file").arg(QFile::decodeName(name)), WrongUsage);
    const int fd = open(name.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0)
        fail(QStringLiteral("%1: %2").arg(QFile::decodeName(name), qt_error_string(errno)), 1);
    close(fd);
}

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vmdatabase-record"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VMDATABASE_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Runs a program that uses libvmdatabase, and writes a feed of every call that it makes: with\n"
                       "answers, log lines, signals, threads and times. vmdatabase-replay plays it again."));
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption output({QStringLiteral("o"), QStringLiteral("output")},
                                    QStringLiteral("Write to FILE, not to PROGRAM-PID.jsonl."), QStringLiteral("FILE"));
    const QCommandLineOption maxSize(
        QStringLiteral("max-size"),
        QStringLiteral("Stop before the file is larger than SIZE bytes; k, M and G multiply."), QStringLiteral("SIZE"));
    const QCommandLineOption redact(
        QStringLiteral("redact"),
        QStringLiteral("Write \"<12 characters>\" for values under KEYS, numbers or names with commas between, and no "
                       "info lines."),
        QStringLiteral("KEYS"));
    const QCommandLineOption noAnswers(QStringLiteral("no-answers"),
                                       QStringLiteral("Write the calls alone: no answers, log lines and signals."));
    const QCommandLineOption checkThreads(
        QStringLiteral("check-threads"),
        QStringLiteral(
            "Report calls of several threads that must not run at the same time; exit status 1 if there are."));
    const QCommandLineOption stretch(
        QStringLiteral("stretch"),
        QStringLiteral("Hold each call back for MICROSECONDS, so that calls overlap that rarely do."),
        QStringLiteral("MICROSECONDS"));
    parser.addOptions({output, maxSize, redact, noAnswers, checkThreads, stretch});
    parser.addPositionalArgument(QStringLiteral("PROGRAM"), QStringLiteral("The program to run, with its arguments."),
                                 QStringLiteral("[--] PROGRAM [ARGUMENTS]"));
    if (!parser.parse(QCoreApplication::arguments()))
        fail(parser.errorText(), WrongUsage);
    parser.process(QCoreApplication::arguments()); // help and version
    const QStringList command = parser.positionalArguments();
    if (command.isEmpty())
        fail(QStringLiteral("expected a program to run"), WrongUsage);

    RecordOptions options;
    options.pid = int(getpid());
    options.answers = !parser.isSet(noAnswers);
    options.checkThreads = parser.isSet(checkThreads);
    if (parser.isSet(maxSize))
        options.maxSize = readSize(parser.value(maxSize));
    if (parser.isSet(redact))
        options.redact = readKeys(parser.values(redact).join(QLatin1Char(',')));
    if (parser.isSet(stretch)) {
        bool isNumber = false;
        options.stretch = parser.value(stretch).toInt(&isNumber);
        if (!isNumber || options.stretch < 0)
            fail(QStringLiteral("--stretch: expected a number of microseconds"), WrongUsage);
    }
    const QString file =
        parser.isSet(output)
            ? parser.value(output)
            : QStringLiteral("%1-%2.jsonl").arg(QFileInfo(command.first()).fileName()).arg(options.pid);
    if (file == QLatin1String("-") || file.isEmpty())
        fail(QStringLiteral("-o %1: standard output is the program's, expected a file").arg(file), WrongUsage);
    options.file = QFile::encodeName(QFileInfo(file).absoluteFilePath());
    const QByteArray library = QFile::encodeName(findLibrary());
    // The arguments as they came: Qt's way to text and back may change them.
    char **const program = argv + argc - command.size();
    const QByteArray path = findProgram(program[0]); // first: the file is left alone if nothing can be recorded
    if (path.isEmpty())
        failToRun(program[0], errno);
    if (QFileInfo(file) == QFileInfo(QFile::decodeName(path)))
        fail(QStringLiteral("-o %1: is the program").arg(file), WrongUsage);
    prepareFile(options.file);

    QByteArray preload = qgetenv("LD_PRELOAD");
    preload += (preload.isEmpty() ? "" : ":") + library;
    qputenv("LD_PRELOAD", preload);
    qputenv(RecordOptions::variable, options.toJson());

    execvp(program[0], program);
    failToRun(program[0], errno);
}
