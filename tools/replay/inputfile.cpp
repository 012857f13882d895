// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "inputfile.h"

#include <QtCore/QFile>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

InputFile::InputFile(const QString &name, QObject *parent)
    : QIODevice(parent)
    , m_descriptor(name == QLatin1String("-") ? STDIN_FILENO
                                              : ::open(QFile::encodeName(name).constData(), O_RDONLY | O_CLOEXEC))
{
    if (m_descriptor < 0)
        fail();
    else
        open(ReadOnly | Unbuffered);
}

InputFile::~InputFile()
{
    if (m_descriptor > STDIN_FILENO)
        ::close(m_descriptor);
}

void InputFile::fail()
{
    m_error = errno;
    setErrorString(qt_error_string(m_error));
}

qint64 InputFile::readData(char *data, qint64 size)
{
    std::fflush(stdout); // whoever waits for an answer before asking on gets it
    const ssize_t read = ::read(m_descriptor, data, size_t(size));
    if (read < 0 && errno != EINTR) // an interruption ends the feed
        fail();
    return read;
}
