// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QList>
#include <QtCore/QString>

// The one way to make a log line: category "default", no file, line or function, items streamed one by one and spaced
// and quoted as QDebug does. The texts are interface: people search logs for them.
namespace Log {

/// Writes what QDebug would write, faster, when it goes out of scope.
class Line
{
    Q_DISABLE_COPY(Line)

public:
    explicit Line(QtMsgType severity);

    /// A line that begins with the bracketed name of the operation.
    Line(QtMsgType severity, const char *operation);
    ~Line();

    /// Bare, plain ASCII.
    Line &operator<<(const char *item);

    /// In quotes, with escapes where it takes any.
    Line &operator<<(const QString &item);
    Line &operator<<(const QList<QString> &items);
    Line &operator<<(int item);

private:
    void append(const QString &item);

    const QtMsgType type;
    QString text;
};

inline Line info()
{
    return Line(QtInfoMsg);
}

inline Line info(const char *operation)
{
    return Line(QtInfoMsg, operation);
}

inline Line critical()
{
    return Line(QtCriticalMsg);
}

inline Line critical(const char *operation)
{
    return Line(QtCriticalMsg, operation);
}

/// The critical line that follows some reports and names their place. The signature is a literal, since compilers print
/// signatures differently; the line is that of the call.
void errorLocation(const char *operation, const char *signature, int line = __builtin_LINE());

} // namespace Log
