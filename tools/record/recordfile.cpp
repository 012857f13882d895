// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "recordfile.h"

#include "feed/feedline.h"
#include "options.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <limits>

void complain(const QByteArray &text)
{
    dprintf(STDERR_FILENO, "vmdatabase-record: %s\n", text.constData());
}

RecordFile::RecordFile(const RecordOptions &options)
    : m_options(options)
{}

static QByteArray readLink(const char *name)
{
    char target[4096];
    const ssize_t size = readlink(name, target, sizeof(target));
    return QByteArray(target, int(qMax<ssize_t>(size, 0)));
}

// Clients that close all files they know of do not get this number for one of theirs.
static int moveUp(int fd)
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const int high = fcntl(fd, F_DUPFD_CLOEXEC, int(qMin<rlim_t>(limit.rlim_cur, 1024) * 3 / 4));
    if (high < 0)
        return fd;
    close(fd);
    return high;
}

// Opens what is new, or what this process has begun before it called exec(): the first line names it. Everything else
// is another process's, and is left alone unless its process is gone: \a isOwn.
int RecordFile::openFile(const QByteArray &name, bool isOwn)
{
    const int fd = ::open(name.constData(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (fd < 0)
        return fd;
    struct stat status = {};
    fstat(fd, &status);
    char first[1024];
    const ssize_t size = S_ISREG(status.st_mode) ? pread(fd, first, sizeof(first), 0) : 0;
    const FeedLine about = parseLine(QByteArray(first, int(qMax<ssize_t>(size, 0))).split('\n').constFirst());
    const bool isLocked = flock(fd, LOCK_EX | LOCK_NB) == 0;
    const bool isNew = size <= 0;
    const bool isMine = about.about.value(QLatin1String("pid")).toInt() == getpid();
    const bool isOthers = !isOwn && (!isLocked || (!isNew && !isMine));
    if (isOthers || (!isNew && !isMine && ftruncate(fd, 0) != 0)) {
        close(fd);
        errno = EBUSY;
        return -1;
    }
    m_name = name;
    if (!begin(fd, !isMine)) {
        close(fd);
        errno = EFBIG;
        return -1;
    }
    return moveUp(fd);
}

// Writes the first line; answers false, and stops, if there is no room for it.
bool RecordFile::begin(int fd, bool isNew)
{
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit); // beyond which the kernel sends a signal that ends the client
    m_limit = m_options.maxSize > 0 ? m_options.maxSize : std::numeric_limits<qint64>::max();
    m_limitName = "--max-size";
    if (limit.rlim_cur < rlim_t(m_limit)) {
        m_limit = qint64(limit.rlim_cur);
        m_limitName = "the limit for the size of files";
    }
    struct stat status = {};
    fstat(fd, &status);
    m_size = S_ISREG(status.st_mode) ? status.st_size : 0;

    FeedLine line;
    const QString program = QFile::decodeName(readLink("/proc/self/exe"));
    if (isNew) {
        line.kind = FeedLine::About;
        line.about = {
            {QStringLiteral("feed"), 1},
            {QStringLiteral("program"), program},
            {QStringLiteral("pid"), int(getpid())},
            {QStringLiteral("recorded"), QDateTime::currentDateTimeUtc().toString(Qt::ISODate)},
        };
        if (m_options.answers && m_options.redact.isEmpty() && m_forkedFrom == 0)
            line.about.insert(QStringLiteral("complete"), true);
        if (m_forkedFrom != 0)
            line.about.insert(QStringLiteral("forkedFrom"), m_forkedFrom);
    } else {
        line.kind = FeedLine::Case;
        line.about = {{QStringLiteral("case"), QStringLiteral("exec ") + program}};
    }
    const QByteArray text = formatLine(line) + '\n';
    if (m_size + text.size() > m_limit) {
        stop(m_name, m_limitName);
        return false;
    }
    if (::write(fd, text.constData(), size_t(text.size())) > 0)
        m_size += text.size();
    return true;
}

int RecordFile::open()
{
    const std::lock_guard<std::mutex> locker(m_mutex);
    if (m_fd != notOpen)
        return m_fd;
    int fd = -1;
    if (m_forkedFrom == 0)
        fd = openFile(m_options.file, false);
    const QByteArray own = m_options.file + '.' + QByteArray::number(getpid());
    const bool isTaken = m_forkedFrom != 0 || (fd < 0 && errno == EBUSY);
    if (isTaken)
        fd = openFile(own, true);
    if (fd < 0)
        stop(isTaken ? own : m_options.file, qt_error_string(errno).toLocal8Bit());
    else
        m_fd = fd;
    return m_fd;
}

void RecordFile::stop(const QByteArray &name, const QByteArray &why)
{
    if (m_fd.exchange(stopped) != stopped)
        complain("recording stopped: " + name + ": " + why);
}

void RecordFile::write(const QByteArray &line)
{
    int fd = m_fd.load(std::memory_order_acquire);
    if (fd == notOpen)
        fd = open();
    if (fd == stopped)
        return;
    const qint64 size = m_size.fetch_add(line.size(), std::memory_order_relaxed) + line.size();
    if (size > m_limit) {
        stop(m_name, m_limitName);
        return;
    }
    int written = 0;
    while (written < line.size()) {
        const ssize_t result = ::write(fd, line.constData() + written, size_t(line.size() - written));
        if (result >= 0) {
            written += int(result);
        } else if (errno == EBADF) { // the client closes files that it has not opened
            const std::lock_guard<std::mutex> locker(m_mutex);
            if (m_fd == fd) {
                const int again = ::open(m_name.constData(), O_WRONLY | O_APPEND | O_CLOEXEC);
                if (again < 0)
                    break;
                m_fd = moveUp(again);
            }
            fd = m_fd;
        } else if (errno != EINTR) {
            break;
        }
    }
    if (written == line.size())
        return;
    const int error = errno;
    if (written > 0) { // the file ends in a whole line
        const off_t end = lseek(fd, 0, SEEK_END);
        if (end < written || ftruncate(fd, end - written) != 0)
            complain("cannot take back half a line");
    }
    stop(m_name, qt_error_string(error).toLocal8Bit());
}

void RecordFile::writeParts(const iovec *parts, int count)
{
    const int fd = m_fd.load();
    if (fd >= 0 && writev(fd, parts, count) < 0)
        return; // the client is about to end
}

void RecordFile::endFork(bool isChild)
{
    if (isChild) {
        const int fd = m_fd.exchange(notOpen);
        if (fd >= 0) {
            close(fd);
            m_forkedFrom = getppid();
        }
    } else {
        m_hasForked = true;
    }
    m_mutex.unlock();
}

bool RecordFile::isEmpty() const
{
    struct stat status = {};
    return stat(m_options.file.constData(), &status) == 0 && status.st_size == 0;
}
