// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "log_p.h"

#include <QtCore/QDebug>

#include <algorithm>

// Whether QDebug writes a text in quotes without escapes.
static bool isPlain(const QString &text)
{
    return std::all_of(text.cbegin(), text.cend(),
                       [](QChar c) { return c >= u' ' && c <= u'~' && c != u'"' && c != u'\\'; });
}

Log::Line::Line(QtMsgType severity)
    : type(severity)
{
    text.reserve(128);
}

Log::Line::Line(QtMsgType severity, const char *operation)
    : Line(severity)
{
    *this << "[" << operation << "]";
}

Log::Line::~Line()
{
    text.chop(1); // every item is followed by a blank
    qt_message_output(type, QMessageLogContext(nullptr, 0, nullptr, "default"), text);
}

Log::Line &Log::Line::operator<<(const char *item)
{
    text += QLatin1String(item);
    text += u' ';
    return *this;
}

Log::Line &Log::Line::operator<<(const QString &item)
{
    append(item);
    text += u' ';
    return *this;
}

Log::Line &Log::Line::operator<<(const QList<QString> &items)
{
    text += u'(';
    for (const QString &item : items) {
        if (&item != &items.constFirst())
            text += QLatin1String(", ");
        append(item);
    }
    text += QLatin1String(") ");
    return *this;
}

Log::Line &Log::Line::operator<<(int item)
{
    text += QString::number(item);
    text += u' ';
    return *this;
}

void Log::Line::append(const QString &item)
{
    if (!isPlain(item)) {
        QDebug(&text).nospace() << item;
        return;
    }
    text += u'"';
    text += item;
    text += u'"';
}

void Log::errorLocation(const char *operation, const char *signature, int line)
{
    critical(operation) << "error occur in: " << signature << "--" << line;
}
