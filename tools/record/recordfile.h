// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QByteArray>

#include <sys/uio.h>

#include <atomic>
#include <mutex>

struct RecordOptions;

/// A line on standard error, with the program's name before it.
void complain(const QByteArray &text);

/// The file of a recording. It is opened with the first line, and a line has gone to the kernel before write() returns.
/// Lines of several threads do not mix. What goes wrong stops the recording with one line on standard error; the client
/// goes on.
class RecordFile
{
    Q_DISABLE_COPY(RecordFile)

public:
    explicit RecordFile(const RecordOptions &options);

    /// Whether it is worth to make a line: not after something went wrong.
    bool accepts() const { return m_fd.load(std::memory_order_relaxed) != stopped; }

    /// Whether anything was written by this process.
    bool hasBegun() const { return m_fd.load() != notOpen; }

    /// Writes a line with its end.
    void write(const QByteArray &line);

    /// The same for a signal handler: opens nothing, calls nothing but the kernel.
    void writeParts(const iovec *parts, int count);

    /// Around a fork, so that no other thread is opening the file. The file is that of the first process that writes;
    /// a child of that gets one of its own.
    void prepareFork() { m_mutex.lock(); }
    void endFork(bool isChild);

    bool hasForked() const { return m_hasForked; }

    /// Whether nobody has written to the file that was asked for.
    bool isEmpty() const;

private:
    enum { notOpen = -1, stopped = -2 };

    int open();
    int openFile(const QByteArray &name, bool isOwn);
    bool begin(int fd, bool isNew);
    void stop(const QByteArray &name, const QByteArray &why);

    const RecordOptions &m_options;
    std::atomic<int> m_fd{notOpen};
    std::atomic<qint64> m_size{0};
    qint64 m_limit = 0;
    const char *m_limitName = "";
    QByteArray m_name;    // of the open file
    int m_forkedFrom = 0; // by a process that had written: its calls are not in this file
    bool m_hasForked = false;
    std::mutex m_mutex; // for opening
};
