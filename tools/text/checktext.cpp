// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "checktext.h"

#include "describe.h"
#include "feed/json.h"

static QString lineText(const QJsonValue &line)
{
    return line.isUndefined() ? QStringLiteral("nothing more") : escapeControls(line.toString());
}

static QString describeKind(const Difference &difference)
{
    switch (difference.kind) {
    case Difference::NotPlayed:
        return QStringLiteral("is not played: ") + difference.error;
    case Difference::Answer:
        return QStringLiteral("answers %1, recorded %2")
            .arg(difference.played.isUndefined() ? QStringLiteral("nothing") : compactJson(difference.played),
                 compactJson(difference.recorded));
    case Difference::Log:
        return QStringLiteral("logs %1, recorded %2").arg(lineText(difference.played), lineText(difference.recorded));
    case Difference::Signals:
        break;
    }
    return QStringLiteral("emits %1, recorded %2").arg(lineText(difference.played), lineText(difference.recorded));
}

static QString describeOverlap(const Difference &difference)
{
    if (difference.overlapping)
        return QStringLiteral("; %1%2 ran at the same time, so their order is not certain")
            .arg(describeCall(*difference.overlapping),
                 difference.overlappingThread.isEmpty()
                     ? QString()
                     : QStringLiteral(" of thread ") + escapeControls(difference.overlappingThread));
    if (difference.missing)
        return QStringLiteral(
                   "; a call that had begun before (\"entered\": %1) still ran, so their order is not certain")
            .arg(*difference.missing);
    return {};
}

QString toText(const Difference &difference)
{
    return describeCall(difference.call) + QLatin1Char(' ') + describeKind(difference) + describeOverlap(difference);
}

QString describeNotLogged(const Check &check)
{
    return check.notLogged().isEmpty() ? QString()
                                       : QStringLiteral("log lines are switched off here and not compared: ") +
                                             check.notLogged().join(QStringLiteral(", "));
}
