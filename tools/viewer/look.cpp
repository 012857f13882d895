// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "look.h"

#include <QtGui/QFontDatabase>
#include <QtGui/QFontInfo>
#include <QtGui/QGuiApplication>

QColor Look::mix(const QColor &under, const QColor &over, double share)
{
    const auto channel = [=](double a, double b) { return a + (b - a) * share; };
    return QColor::fromRgbF(channel(under.redF(), over.redF()), channel(under.greenF(), over.greenF()),
                            channel(under.blueF(), over.blueF()));
}

bool Look::isDark(const QPalette &palette)
{
    return palette.color(QPalette::Base).lightness() < palette.color(QPalette::Text).lightness();
}

QColor Look::accent(const QPalette &palette, Meaning meaning)
{
    const bool dark = isDark(palette);
    switch (meaning) {
    case Changed:
        return dark ? QColor(0xe5b567) : QColor(0x9a6700);
    case Added:
    case Shown:
        return dark ? QColor(0x7cc48a) : QColor(0x2b7a3d);
    case Removed:
    case Problem:
        return dark ? QColor(0xf0837a) : QColor(0xb3261e);
    case Conflict:
        return dark ? QColor(0xc79bf2) : QColor(0x7b3fb5);
    case Decision:
        break;
    }
    return dark ? QColor(0x7ab3ef) : QColor(0x2563ac);
}

QColor Look::tint(const QPalette &palette, Meaning meaning)
{
    return mix(palette.color(QPalette::Base), accent(palette, meaning), isDark(palette) ? 0.22 : 0.13);
}

QColor Look::muted(const QPalette &palette)
{
    return mix(palette.color(QPalette::Base), palette.color(QPalette::Text), 0.62);
}

QColor Look::outline(const QPalette &palette)
{
    return mix(palette.color(QPalette::Base), palette.color(QPalette::Text), 0.2);
}

QFont Look::fixedFont()
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    if (!QFontInfo(font).fixedPitch()) { // where there is no desktop to ask
        font.setFamily(QStringLiteral("monospace"));
        font.setStyleHint(QFont::Monospace);
    }
    return font;
}

QString Look::code(const QString &text)
{
    return QGuiApplication::isRightToLeft() ? QStringLiteral("\u2066%1\u2069").arg(text) : text;
}
