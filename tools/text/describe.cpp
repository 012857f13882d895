// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "describe.h"

#include "feed/json.h"
#include "operations/keynames.h"

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
    case Change::ControlPolicy:
        break;
    }
    return QStringLiteral("control policy");
}

static QString valueText(const Change &change, const QString &value)
{
    if (value.isNull())
        return QStringLiteral("none");
    if (change.kind == Change::ControlPolicy) // is JSON already
        return value.size() > 120 ? value.left(120) + QStringLiteral("...") : value;
    return shortJson(value);
}

QString describeValues(const Change &change)
{
    if (change.kind == Change::Added || change.kind == Change::Removed)
        return {};
    return valueText(change, change.before) + QStringLiteral(" -> ") + valueText(change, change.after);
}

QString describeChange(const Change &change)
{
    if (change.kind == Change::Added || change.kind == Change::Removed)
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
    if (change.kind == Change::Added || change.kind == Change::Removed) {
        json[QStringLiteral("change")] = describeAspect(change);
        return json;
    }
    json[QStringLiteral("change")] = QStringLiteral("value");
    if (change.kind == Change::ControlPolicy)
        json[QStringLiteral("change")] = QStringLiteral("controlPolicy");
    else
        json[QStringLiteral("key")] = change.key;
    if (change.kind == Change::Value && describeAspect(change) != QString::number(change.key))
        json[QStringLiteral("keyName")] = describeAspect(change);
    if (change.kind == Change::PolicyValue)
        json[QStringLiteral("policy")] = change.policy;
    json[QStringLiteral("before")] = toJson(change.before);
    json[QStringLiteral("after")] = toJson(change.after);
    return json;
}

bool isReadingCall(const QJsonArray &call)
{
    return call.at(0).toString().startsWith(QLatin1String("get"));
}
