// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

/// Writes \a text to standard output.
void print(const QString &text);

/// Writes a line there.
void printLine(const QString &line);
void printLine(const QJsonObject &object);

/// "1 line", "2 lines".
QString counted(qint64 count, const QString &one, const QString &many);

/// Writes \a text as a line to standard error, behind all that was printed before.
void report(const QString &text);

/// Says on a terminal how far a long feed has come, unless answers appear there or lines are typed.
class Progress
{
public:
    explicit Progress(bool isWanted);
    void advance(qint64 calls);
    void hide();

private:
    bool m_isWanted;
    bool m_isShown = false;
    qint64 m_next = 1000; // milliseconds
    QElapsedTimer m_timer;
};
