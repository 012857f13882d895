// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "json.h"

#include <QtCore/QJsonDocument>

#include <algorithm>

QJsonValue toJson(const QList<QString> &texts)
{
    QJsonArray array;
    for (const QString &text : texts)
        array << toJson(text);
    return array;
}

QJsonValue toJson(const QMap<QString, QString> &texts)
{
    QJsonObject object;
    for (auto it = texts.cbegin(); it != texts.cend(); ++it)
        object.insert(it.key(), toJson(it.value()));
    return object;
}

// Whether a text stands between its quotes as it is.
static bool isPlain(const QString &text)
{
    return std::all_of(text.cbegin(), text.cend(),
                       [](QChar c) { return c >= u' ' && c <= u'~' && c != u'"' && c != u'\\'; });
}

void appendJson(QByteArray &json, const QString &text)
{
    if (text.isNull()) {
        json += "null";
    } else if (isPlain(text)) { // most texts; a document for each would be half of the price of writing a line
        json += '"';
        json += text.toLatin1();
        json += '"';
    } else {
        appendJson(json, QJsonValue(text));
    }
}

void appendJson(QByteArray &json, const QJsonValue &value)
{
    // Only arrays and objects can be documents.
    const QByteArray document = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    json.append(document.constData() + 1, document.size() - 2);
}

QString compactJson(const QJsonValue &value)
{
    QByteArray json;
    appendJson(json, value);
    return QString::fromUtf8(json);
}

QString shortJson(const QJsonValue &value)
{
    constexpr int most = 120;
    const bool isLong = value.isString() && value.toString().size() > most; // need not be converted whole
    const QString json = compactJson(isLong ? QJsonValue(value.toString().left(most)) : value);
    return isLong || json.size() > most ? json.left(most) + QStringLiteral("...") : json;
}
