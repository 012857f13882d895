// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGui/QColor>
#include <QtGui/QFont>
#include <QtGui/QPalette>

/// The few colours and fonts with a meaning, made for the palette that the user has.
namespace Look {

enum Meaning { Changed, Added, Removed, Decision, Problem, Conflict, Shown };

bool isDark(const QPalette &palette);

/// For marks and texts.
QColor accent(const QPalette &palette, Meaning meaning);

/// For what stands behind a text.
QColor tint(const QPalette &palette, Meaning meaning);

/// For texts that matter less.
QColor muted(const QPalette &palette);

/// For lines around something.
QColor outline(const QPalette &palette);

/// \a over, mixed into \a under.
QColor mix(const QColor &under, const QColor &over, double share);

/// A text in a programming language, which reads from left to right in any window.
QString code(const QString &text);

/// For what a program has written.
QFont fixedFont();

} // namespace Look
