// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "screen.h"

#include "output.h"

#include <QtCore/QStringList>

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>

Screen::Screen()
{
    print(QStringLiteral("\033[?1049h\033[?25l")); // the other buffer, no cursor
}

Screen::~Screen()
{
    print(QStringLiteral("\033[?25h\033[?1049l"));
    std::fflush(stdout);
}

bool Screen::isAvailable()
{
    return isatty(STDOUT_FILENO) == 1;
}

void Screen::show(const QString &text)
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0) {
        size.ws_row = 24;
        size.ws_col = 80;
    }
    QStringList lines = text.split(QLatin1Char('\n'));
    const int hidden = lines.size() - size.ws_row;
    if (hidden > 0)
        lines = lines.mid(0, size.ws_row - 1) << QStringLiteral("... %1 more lines").arg(hidden + 1);
    for (QString &line : lines)
        line = line.left(size.ws_col) + QStringLiteral("\033[K"); // and nothing of what was there
    print(QStringLiteral("\033[H") + lines.join(QStringLiteral("\r\n")) + QStringLiteral("\033[J"));
    std::fflush(stdout);
}
