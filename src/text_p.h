// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QString>

// What the library returns and reads in texts.

/// Empty but not null. Unlike QString("") it allocates nothing.
inline QString emptyText()
{
    return QStringLiteral(""); // clazy:exclude=empty-qstringliteral
}

/// The number in \a text, base 10, as Qt reads it: blanks around it and a leading plus are accepted; 0 for anything
/// else.
inline uint toUnsigned(const QString &text)
{
    return text.toUInt();
}

/// As toUnsigned(), with a sign: "-1" is not 0.
inline int toSigned(const QString &text)
{
    return text.toInt();
}
