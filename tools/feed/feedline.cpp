// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "feedline.h"

#include <QtCore/QJsonDocument>

#include <cmath>
#include <iterator>

static FeedLine invalid(const QString &error, int column = 0)
{
    FeedLine line;
    line.kind = FeedLine::Invalid;
    line.error = error + QStringLiteral(", expected [\"operation\", argument, ...] or {\"call\": [...], ...}");
    line.column = column;
    return line;
}

static FeedLine wrongMember(const QString &name, const char *expected)
{
    FeedLine line;
    line.kind = FeedLine::Invalid;
    line.error = QStringLiteral("\"%1\" is of the wrong kind, expected %2").arg(name, QLatin1String(expected));
    return line;
}

static bool readTexts(const QJsonValue &value, std::optional<QStringList> &texts)
{
    texts.emplace();
    const QJsonArray array = value.toArray();
    for (const QJsonValue &text : array) {
        if (!text.isString())
            return false;
        *texts << text.toString();
    }
    return value.isArray();
}

template <typename Number>
static bool readNumber(const QJsonValue &value, std::optional<Number> &number)
{
    number = Number(value.toDouble());
    return value.isDouble();
}

static FeedLine readCall(const QJsonArray &call)
{
    if (!call.at(0).isString())
        return invalid(QStringLiteral("not a call"));
    FeedLine line;
    line.kind = FeedLine::Call;
    line.call = call;
    return line;
}

static FeedLine readObject(const QJsonObject &object)
{
    FeedLine line;
    line.about = object;
    const auto call = object.constFind(QLatin1String("call"));
    if (call == object.constEnd()) {
        line.kind = object.contains(QLatin1String("case"))         ? FeedLine::Case
                    : object.contains(QLatin1String("unfinished")) ? FeedLine::Unfinished
                                                                   : FeedLine::About;
        return line;
    }
    line = readCall(call.value().toArray());
    if (line.kind != FeedLine::Call)
        return line;
    for (auto it = object.constBegin(); it != object.constEnd(); ++it) {
        const QString name = it.key();
        const QJsonValue value = it.value();
        if (name == QLatin1String("answer"))
            line.answer = value;
        else if ((name == QLatin1String("log") && !readTexts(value, line.log)) ||
                 (name == QLatin1String("signals") && !readTexts(value, line.emitted)))
            return wrongMember(name, "a list of texts");
        else if (name == QLatin1String("thread"))
            line.thread = value.isString() ? value.toString() : compactJson(value);
        else if (name == QLatin1String("at") && !readNumber(value, line.at))
            return wrongMember(name, "seconds");
        else if (name == QLatin1String("took") && !readNumber(value, line.took))
            return wrongMember(name, "microseconds");
        else if (name == QLatin1String("entered") && !readNumber(value, line.entered))
            return wrongMember(name, "a number");
        else if (name == QLatin1String("database")) {
            line.database = value.toInt();
            if (line.database < 1)
                return wrongMember(name, "a number from 1");
        }
    }
    return line;
}

FeedLine parseLine(const QByteArray &line)
{
    const QByteArray text = line.trimmed();
    if (text.isEmpty() || text.startsWith('#'))
        return {};
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (document.isArray())
        return readCall(document.array());
    if (document.isObject())
        return readObject(document.object());
    // A document is an array or an object; "clear" is JSON all the same.
    if (QJsonDocument::fromJson('[' + text + ']').array().size() == 1)
        return invalid(QStringLiteral("not a call"));
    // Qt counts the character that it stopped at, but not where it expected a number.
    const int offset = error.offset + int(error.error == QJsonParseError::IllegalNumber);
    return invalid(QStringLiteral("not JSON (%1)").arg(error.errorString()), line.indexOf(text) + offset);
}

// value / 10^digits. QByteArray::number() takes ten times as long.
static void appendFixed(QByteArray &json, qint64 value, int digits)
{
    char text[32];
    char *begin = std::end(text);
    for (int i = 0; value > 0 || i <= digits; ++i, value /= 10) {
        if (i == digits)
            *--begin = '.';
        *--begin = char('0' + value % 10);
    }
    json.append(begin, int(std::end(text) - begin));
}

QString logText(QtMsgType severity, const QString &text)
{
    return QLatin1String(severity == QtInfoMsg       ? "info: "
                         : severity == QtCriticalMsg ? "critical: "
                                                     : "other: ") +
           text;
}

void CallLine::appendLog(QByteArray &json, const QStringList &log)
{
    json += ",\"log\":";
    appendJson(json, log);
}

void CallLine::appendSignals(QByteArray &json, const QStringList &emitted)
{
    json += ",\"signals\":";
    appendJson(json, emitted);
}

void CallLine::appendPlace(QByteArray &json, int database, const QString &thread)
{
    if (database != 1) {
        json += ",\"database\":";
        appendJson(json, database);
    }
    if (!thread.isEmpty()) {
        json += ",\"thread\":";
        appendJson(json, thread);
    }
}

void CallLine::appendAt(QByteArray &json, qint64 tenths)
{
    json += ",\"at\":";
    appendFixed(json, tenths, 7);
}

void CallLine::appendEntered(QByteArray &json, qint64 number)
{
    json += ",\"entered\":";
    appendJson(json, number);
}

void CallLine::appendTook(QByteArray &json, qint64 tenths)
{
    json += ",\"took\":";
    appendFixed(json, tenths, 1);
}

QByteArray formatLine(const FeedLine &line)
{
    QByteArray json;
    if (line.kind != FeedLine::Call) {
        appendJson(json, line.about);
        return json;
    }
    json += "{\"call\":";
    appendJson(json, line.call);
    const int callEnd = json.size();
    if (!line.answer.isUndefined())
        CallLine::appendAnswer(json, line.answer);
    if (line.log)
        CallLine::appendLog(json, *line.log);
    if (line.emitted)
        CallLine::appendSignals(json, *line.emitted);
    CallLine::appendPlace(json, line.database, line.thread);
    if (line.at)
        CallLine::appendAt(json, std::llround(*line.at * 1e7));
    if (line.entered)
        CallLine::appendEntered(json, *line.entered);
    if (line.took)
        CallLine::appendTook(json, std::llround(*line.took * 10));
    if (json.size() == callEnd)
        return json.mid(int(sizeof("{\"call\":")) - 1);
    return json + '}';
}
