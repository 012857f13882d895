// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "output.h"

#include "feed/json.h"

#include <unistd.h>

#include <cstdio>

void print(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

void printLine(const QString &line)
{
    print(line + QLatin1Char('\n'));
}

void printLine(const QJsonObject &object)
{
    printLine(compactJson(object));
}

QString counted(qint64 count, const QString &one, const QString &many)
{
    return QString::number(count) + QLatin1Char(' ') + (count == 1 ? one : many);
}

void report(const QString &text)
{
    std::fflush(stdout); // so that both streams keep their order, wherever they go
    std::fprintf(stderr, "%s\n", qUtf8Printable(text));
}

Progress::Progress(bool isWanted)
    : m_isWanted(isWanted && isatty(STDERR_FILENO) == 1)
{
    m_timer.start();
}

void Progress::advance(qint64 calls)
{
    if (!m_isWanted || calls % 1024 != 0 || m_timer.elapsed() < m_next)
        return;
    m_next = m_timer.elapsed() + 200;
    m_isShown = true;
    std::fprintf(stderr, "\r%lld calls", static_cast<long long>(calls));
}

void Progress::hide()
{
    if (m_isShown)
        std::fputs("\r\033[K", stderr);
    m_isShown = false;
}
