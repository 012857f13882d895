// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "feedplayer.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QJsonDocument>

FeedPlayer::Line FeedPlayer::play(const QByteArray &line)
{
    Line played;
    const QByteArray text = line.trimmed();
    if (text.isEmpty() || text.startsWith('#'))
        return played;

    QString &error = played.outcome.error;
    const auto expected = QStringLiteral(", expected [\"operation\", argument, ...]");
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(text, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        error = QStringLiteral("not JSON (%1)").arg(parseError.errorString()) + expected;
        return played;
    }
    QJsonArray arguments = document.array();
    if (!document.isArray() || !arguments.at(0).isString()) {
        error = QStringLiteral("not a call") + expected;
        return played;
    }

    const QString name = arguments.takeAt(0).toString();
    const Operation *operation = findOperation(name);
    if (!operation) {
        error =
            QStringLiteral("unknown operation %1, expected a public operation of VmDatabase").arg(compactJson(name));
        return played;
    }
    if (m_closed && operation->needsOpen) {
        error = QStringLiteral("%1 after clear, expected an open database").arg(name);
        return played;
    }
    played.operation = name;
    played.outcome = operation->call(m_database, arguments);
    if (name == QLatin1String("clear") && error.isEmpty())
        m_closed = true;
    // No event loop runs here; what the call removed would otherwise stay until the end.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return played;
}
