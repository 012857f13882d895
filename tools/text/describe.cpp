// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "describe.h"

#include "feed/json.h"
#include "operations/operations.h"

static NamedNumbers namesOf(const Change &change)
{
    return change.table == Change::Pools ? NamedNumbers::NodeKeys : NamedNumbers::AppKeys;
}

QString describeSubject(const Change &change)
{
    const QString id = shortJson(change.id);
    if (change.item)
        return QStringLiteral("item %1 of pool %2").arg(shortJson(*change.item), id);
    const char *kind = change.table == Change::Pools        ? "pool "
                       : change.table == Change::RemoteApps ? "remote application "
                                                            : "SaaS application ";
    return QLatin1String(kind) + id;
}

QString describeAspect(const Change &change)
{
    switch (change.kind) {
    case Change::Added:
        return QStringLiteral("added");
    case Change::Removed:
        return QStringLiteral("removed");
    case Change::Value:
        return nameOf(change.key, namesOf(change));
    case Change::PolicyValue:
        return QStringLiteral("policy %1 key %2").arg(change.policy).arg(change.key);
    case Change::Recorded:
        return QStringLiteral("record added");
    case Change::ControlPolicy:
        break;
    }
    return QStringLiteral("control policy");
}

bool hasValues(const Change &change)
{
    return change.kind == Change::Value || change.kind == Change::PolicyValue || change.kind == Change::ControlPolicy;
}

QString describeBefore(const Change &change)
{
    if (change.kind == Change::ControlPolicy)
        return shortJson(change.controlBefore);
    return change.before ? shortJson(toJson(*change.before)) : QStringLiteral("none");
}

QString describeAfter(const Change &change)
{
    return change.kind == Change::ControlPolicy ? shortJson(change.controlAfter) : shortJson(toJson(change.after));
}

QString describeValues(const Change &change)
{
    return hasValues(change) ? describeBefore(change) + QStringLiteral(" -> ") + describeAfter(change) : QString();
}

QString describeChange(const Change &change)
{
    if (!hasValues(change))
        return describeSubject(change) + QLatin1Char(' ') + describeAspect(change);
    return describeSubject(change) + QStringLiteral(": ") + describeAspect(change) + QLatin1Char(' ') +
           describeValues(change);
}

QJsonObject toJson(const Change &change)
{
    QJsonObject json;
    if (change.table == Change::Pools)
        json[QStringLiteral("pool")] = change.id;
    else
        json[change.table == Change::RemoteApps ? QStringLiteral("remoteApp") : QStringLiteral("saasApp")] = change.id;
    if (change.item)
        json[QStringLiteral("item")] = *change.item;
    if (!hasValues(change)) {
        json[QStringLiteral("change")] =
            change.kind == Change::Recorded ? QStringLiteral("record") : describeAspect(change);
        return json;
    }
    if (change.kind == Change::ControlPolicy) {
        json[QStringLiteral("change")] = QStringLiteral("controlPolicy");
        json[QStringLiteral("before")] = compactJson(change.controlBefore);
        json[QStringLiteral("after")] = compactJson(change.controlAfter);
        return json;
    }
    json[QStringLiteral("change")] = QStringLiteral("value");
    json[QStringLiteral("key")] = change.key;
    if (change.kind == Change::Value && describeAspect(change) != QString::number(change.key))
        json[QStringLiteral("keyName")] = describeAspect(change);
    if (change.kind == Change::PolicyValue)
        json[QStringLiteral("policy")] = change.policy;
    json[QStringLiteral("before")] = toJson(change.before.value_or(QString()));
    json[QStringLiteral("after")] = toJson(change.after);
    return json;
}

// A number that has a name, or the name in its place.
static QString describeNumber(const QJsonValue &value, NamedNumbers kind)
{
    int number = value.toInt();
    if (value.isString() ? numberOf(value.toString(), kind, &number) : value.isDouble())
        return nameOf(number, kind);
    return shortJson(value);
}

QString describeCall(const QJsonArray &call)
{
    const QString name = escapeControls(call.at(0).toString());
    const Operation *operation = findOperation(name);
    const NamedNumbers keys = operation ? operation->keys : NamedNumbers::None;
    QStringList arguments;
    arguments.reserve(call.size());
    for (int i = 1; i < call.size(); ++i) {
        const QString parameter = operation ? operation->parameters.value(i - 1) : QString();
        if (parameter == QLatin1String("key"))
            arguments << describeNumber(call.at(i), keys);
        else if (parameter == QLatin1String("type") && keys == NamedNumbers::NodeKeys)
            arguments << describeNumber(call.at(i), NamedNumbers::VmTypes);
        else
            arguments << shortJson(call.at(i));
    }
    return name + QLatin1Char('(') + arguments.join(QLatin1Char(',')) + QLatin1Char(')');
}

QString describeUnfinished(const QJsonObject &about)
{
    const QJsonArray unfinished = about.value(QLatin1String("unfinished")).toArray();
    QStringList calls;
    calls.reserve(unfinished.size());
    for (const QJsonValue &call : unfinished)
        calls << describeCall(call[QLatin1String("call")].toArray());
    const QString signal = about.value(QLatin1String("signal")).toString();
    return calls.join(QStringLiteral(", ")) +
           (signal.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(escapeControls(signal)));
}
