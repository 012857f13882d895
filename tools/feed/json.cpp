// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "json.h"

#include <QtCore/QJsonDocument>

#include <algorithm>
#include <charconv>
#include <iterator>

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

QJsonObject foundAnswer(bool found, const QString &uuid)
{
    return {{QStringLiteral("found"), found}, {QStringLiteral("uuid"), toJson(uuid)}};
}

// Whether a text stands between its quotes as it is.
static bool isPlain(const QString &text)
{
    return std::all_of(text.cbegin(), text.cend(),
                       [](QChar c) { return c >= u' ' && c <= u'~' && c != u'"' && c != u'\\'; });
}

static bool isControl(QChar c)
{
    return c < u' ' || (c >= u'\x7f' && c <= u'\x9f') || c == u'\u061c' || c == u'\u200e' || c == u'\u200f' ||
           (c >= u'\u202a' && c <= u'\u202e') || (c >= u'\u2066' && c <= u'\u2069');
}

static void appendEscape(QByteArray &json, QChar c)
{
    static const char digits[] = "0123456789abcdef";
    json += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4)
        json += digits[(c.unicode() >> shift) & 15];
}

// A document for each text would be half of the price of writing a line.
void appendJson(QByteArray &json, const QString &text)
{
    if (text.isNull()) {
        json += "null";
        return;
    }
    json += '"';
    if (isPlain(text)) { // most texts
        const int begin = json.size();
        json.resize(begin + text.size());
        std::transform(text.cbegin(), text.cend(), json.data() + begin, [](QChar c) { return c.toLatin1(); });
    } else {
        for (int i = 0; i < text.size(); ++i) {
            const QChar c = text.at(i);
            if (c == u'"' || c == u'\\') {
                json += '\\';
                json += c.toLatin1();
            } else if (c >= u' ' && c <= u'~') {
                json += c.toLatin1();
            } else if (c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
                json += text.midRef(i++, 2).toUtf8();
            } else if (c.isSurrogate() || isControl(c)) {
                appendEscape(json, c);
            } else {
                json += text.midRef(i, 1).toUtf8();
            }
        }
    }
    json += '"';
}

void appendJson(QByteArray &json, const QList<QString> &texts)
{
    json += '[';
    for (const QString &text : texts) {
        if (&text != &texts.constFirst())
            json += ',';
        appendJson(json, text);
    }
    json += ']';
}

void appendJson(QByteArray &json, qint64 number)
{
    char digits[24];
    json.append(digits, int(std::to_chars(digits, std::end(digits), number).ptr - digits));
}

void appendJson(QByteArray &json, const QJsonValue &value)
{
    // Only arrays and objects can be documents.
    const QByteArray document = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    json.append(document.constData() + 1, document.size() - 2);
}

QString escapeControls(const QString &text)
{
    if (std::none_of(text.cbegin(), text.cend(), isControl)) // nearly always
        return text;
    QString escaped;
    for (const QChar c : text) {
        if (isControl(c))
            escaped += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
        else
            escaped += c;
    }
    return escaped;
}

QString compactJson(const QJsonValue &value)
{
    QByteArray json;
    appendJson(json, value);
    return escapeControls(QString::fromUtf8(json)); // they stand within texts only
}

QString shortJson(const QJsonValue &value)
{
    constexpr int most = 120;
    const bool isLong = value.isString() && value.toString().size() > most; // need not be converted whole
    const QString json = compactJson(isLong ? QJsonValue(value.toString().left(most)) : value);
    return isLong || json.size() > most ? json.left(most) + QStringLiteral("...") : json;
}
