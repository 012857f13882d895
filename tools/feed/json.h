// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>

// How the library's values stand in a feed. A null text is null, an empty one "": they are different answers.

inline QJsonValue toJson(const QString &text)
{
    return text.isNull() ? QJsonValue() : QJsonValue(text);
}
QJsonValue toJson(const QList<QString> &texts);
QJsonValue toJson(const QMap<QString, QString> &texts);

/// The answer of an operation that returns whether it has found something and writes its uuid to an out-parameter.
QJsonObject foundAnswer(bool found, const QString &uuid);

template <typename Value>
QJsonValue toJson(const Value &value)
{
    return value;
}

/// Appends \a value as compact JSON. Every text comes back as it was, one with half a surrogate pair too.
void appendJson(QByteArray &json, const QJsonValue &value);
void appendJson(QByteArray &json, const QString &text);
void appendJson(QByteArray &json, const QList<QString> &texts);
void appendJson(QByteArray &json, qint64 number);
inline void appendJson(QByteArray &json, int number)
{
    appendJson(json, qint64(number));
}

/// \a text with what a terminal or window obeys rather than shows as \\uXXXX: control characters, also the bidirectional
/// ones.
QString escapeControls(const QString &text);

/// \a value as compact JSON, for people and programs. Its controls are escaped.
QString compactJson(const QJsonValue &value);

/// The same, cut where it is longer than a person reads.
QString shortJson(const QJsonValue &value);
