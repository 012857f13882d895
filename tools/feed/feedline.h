// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "json.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

/// What one line of a feed says; docs/feeds.md has the format.
struct FeedLine
{
    enum Kind {
        Blank,      ///< Nothing, or a comment.
        Call,       ///< A call, perhaps with what came of it.
        Case,       ///< Begins a case with empty databases: see about.
        About,      ///< Says something about the feed: see about.
        Unfinished, ///< A call that had not returned when the recording ended. It is not played.
        Invalid,    ///< Not understood: see error.
    };
    Kind kind = Blank;

    QJsonArray call; ///< The operation's name and its arguments.

    // What came of it, as far as the line says so.
    QJsonValue answer = QJsonValue(QJsonValue::Undefined);
    std::optional<QStringList> log;     ///< Each with its severity before it: "info: ...".
    std::optional<QStringList> emitted; ///< Names of signals.

    // What a recording knows besides.
    int database = 1;
    QString thread;
    std::optional<double> at;      ///< When the call began, in seconds since the recording did.
    std::optional<double> took;    ///< How long it took, in microseconds.
    std::optional<qint64> entered; ///< Numbers the calls as they began; lines stand as calls ended.

    QJsonObject about;
    QString error;
    int column = 0; ///< Where the error is, from 1; 0 if it is the whole line.

    QString operation() const { return call.at(0).toString(); }
};

/// A log line as FeedLine::log has it.
QString logText(QtMsgType severity, const QString &text);

/// Reads one line, with or without its end.
FeedLine parseLine(const QByteArray &line);

/// Writes one line without its end; what is not set is left out. A call of which nothing else is known is a bare array.
QByteArray formatLine(const FeedLine &line);

/// The pieces of a call's line, for who writes it as the call goes on: formatLine() uses the same. \a tenths count tenths
/// of a microsecond, so that two calls in a row do not seem to overlap.
namespace CallLine {
template <typename Answer>
void appendAnswer(QByteArray &json, const Answer &answer)
{
    json += ",\"answer\":";
    appendJson(json, answer);
}
void appendLog(QByteArray &json, const QStringList &log);
void appendSignals(QByteArray &json, const QStringList &emitted);
void appendPlace(QByteArray &json, int database, const QString &thread);
void appendAt(QByteArray &json, qint64 tenths);
void appendEntered(QByteArray &json, qint64 number);
void appendTook(QByteArray &json, qint64 tenths);
} // namespace CallLine
