// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "options.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

QByteArray RecordOptions::toJson() const
{
    QJsonArray keys;
    for (const int key : redact)
        keys << key;
    const QJsonObject object{
        {QStringLiteral("file"), QString::fromLatin1(file.toBase64())}, // a file's name is bytes
        {QStringLiteral("pid"), pid},
        {QStringLiteral("maxSize"), maxSize},
        {QStringLiteral("redact"), keys},
        {QStringLiteral("answers"), answers},
        {QStringLiteral("checkThreads"), checkThreads},
        {QStringLiteral("stretch"), stretch},
    };
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

RecordOptions RecordOptions::fromJson(const QByteArray &json)
{
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    RecordOptions options;
    options.file = QByteArray::fromBase64(object.value(QLatin1String("file")).toString().toLatin1());
    options.pid = object.value(QLatin1String("pid")).toInt();
    options.maxSize = qint64(object.value(QLatin1String("maxSize")).toDouble());
    const QJsonArray keys = object.value(QLatin1String("redact")).toArray();
    for (const QJsonValue &key : keys)
        options.redact << key.toInt();
    options.answers = object.value(QLatin1String("answers")).toBool(true);
    options.checkThreads = object.value(QLatin1String("checkThreads")).toBool();
    options.stretch = object.value(QLatin1String("stretch")).toInt();
    return options;
}
