// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "tree.h"

#include "feed/feedplayer.h"
#include "feed/json.h"

#include <vmdatabase/vmdatabase.h>

#include <QtCore/QJsonArray>
#include <QtCore/QSet>
#include <QtCore/QTextStream>

static QJsonArray readItems(VmDatabase &database, const QString &pool)
{
    QJsonArray items;
    const QList<QString> uuids = database.getChildrenByParentUuid(pool);
    for (const QString &uuid : uuids) {
        const auto value = [&](int key) { return database.getNodeValue(pool, uuid, VdiVM::ItemNode, key); };
        items << QJsonObject{{QStringLiteral("uuid"), uuid},
                             {QStringLiteral("name"), value(VdiVM::NameKey)},
                             {QStringLiteral("status"), value(VdiVM::ItemStatusKey)},
                             {QStringLiteral("active"), value(VdiVM::ItemActiveKey).toUInt() == 1}};
    }
    return items;
}

static QJsonArray readPools(VmDatabase &database)
{
    QJsonArray pools;
    const QList<QString> uuids = database.getVmPoolNameList();
    for (const QString &uuid : uuids) {
        const auto value = [&](int key) { return database.getPoolNodeValue(uuid, key); };
        const QString hidden = value(VdiVM::HiddenKey);
        QJsonValue shown;
        if (hidden == QLatin1String("0") || hidden == QLatin1String("1"))
            shown = hidden == QLatin1String("0");
        pools << QJsonObject{{QStringLiteral("uuid"), uuid},
                             {QStringLiteral("name"), value(VdiVM::NameKey)},
                             {QStringLiteral("group"), value(VdiVM::GroupKey)},
                             {QStringLiteral("priority"), value(VdiVM::PriorityKey)},
                             {QStringLiteral("shown"), shown},
                             {QStringLiteral("items"), readItems(database, uuid)}};
    }
    return pools;
}

static QJsonArray readRemoteApps(VmDatabase &database)
{
    // An id without a record has the same empty policy object as a closed database.
    VmDatabase closed;
    closed.clear();
    const QJsonObject *noRecord = &closed.getRemoteAppControlPolicy(QString());

    QJsonArray apps;
    const QList<QString> ids = database.getAppsIdList();
    for (const QString &id : ids) {
        const QJsonObject &policy = database.getRemoteAppControlPolicy(id);
        apps << QJsonObject{{QStringLiteral("id"), id},
                            {QStringLiteral("record"), &policy != noRecord},
                            {QStringLiteral("key"), database.getRemoteAppValue(id, VdiVM::AppSummaryKey)},
                            {QStringLiteral("value"), database.getRemoteAppValue(id, VdiVM::AppSummaryValueKey)},
                            {QStringLiteral("policy"), !policy.isEmpty()}};
    }
    return apps;
}

static QJsonArray readSaasApps(VmDatabase &database)
{
    QJsonArray apps;
    const int count = database.getSaasAppCount();
    for (int index = 0; index < count; ++index)
        apps << QJsonObject{{QStringLiteral("id"), database.getSaasAppId(index)}};
    return apps;
}

QJsonObject readTree(FeedPlayer &player)
{
    QuietLog quiet;
    VmDatabase &database = player.database();
    return {{QStringLiteral("pools"), readPools(database)},
            {QStringLiteral("remoteApps"), readRemoteApps(database)},
            {QStringLiteral("saasApps"), player.isClosed() ? QJsonArray() : readSaasApps(database)}};
}

static QString label(const QJsonObject &node)
{
    const QJsonValue name = node[QStringLiteral("name")];
    return compactJson(name.toString().isEmpty() ? node[QStringLiteral("uuid")] : name);
}

static void drawPool(QTextStream &out, const QJsonObject &pool, bool grouped, bool isLead)
{
    const QString indent = grouped ? QStringLiteral("    ") : QStringLiteral("  ");
    const QJsonValue shown = pool[QStringLiteral("shown")];
    const char *decision = shown.isNull() ? "undecided" : shown.toBool() ? "SHOWN    " : "hidden   ";
    const QString priority = pool[QStringLiteral("priority")].toString();
    out << indent << decision << "  " << label(pool);
    if (!priority.isEmpty())
        out << "  priority " << compactJson(priority);
    out << (isLead ? "  <- lead\n" : "\n");
    const QJsonArray items = pool[QStringLiteral("items")].toArray();
    for (const QJsonValue &value : items) {
        const QJsonObject item = value.toObject();
        out << indent << "    " << (item[QStringLiteral("active")].toBool() ? "* " : "  ") << label(item);
        const QString status = item[QStringLiteral("status")].toString();
        if (!status.isEmpty())
            out << "  " << compactJson(status);
        out << '\n';
    }
}

// The pool that the wheel picks, or that it marks when none is usable.
static QString leadOf(const QString &group, const QList<QJsonObject> &pools, VmDatabase &database)
{
    QString lead;
    database.wheelVmGroup(group, lead);
    for (const QJsonObject &pool : pools) {
        QString uuid = pool[QStringLiteral("uuid")].toString();
        if (database.getPoolNodeValue(uuid, VdiVM::HiddenKey) == QLatin1String("0"))
            return uuid;
    }
    return lead;
}

QString drawTree(const QJsonObject &tree, FeedPlayer &player)
{
    QuietLog quiet;
    QMap<QString, QList<QJsonObject>> groups;
    const QJsonArray pools = tree[QStringLiteral("pools")].toArray();
    for (const QJsonValue &pool : pools)
        groups[pool[QStringLiteral("group")].toString()] << pool.toObject();

    QString text;
    QTextStream out(&text);
    out << "Pools (* active):" << (pools.isEmpty() ? " none\n" : "\n");
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        const bool grouped = !group.key().isEmpty();
        const QString lead = grouped ? leadOf(group.key(), group.value(), player.database()) : QString();
        if (grouped)
            out << "  group " << compactJson(group.key()) << '\n';
        for (const QJsonObject &pool : group.value())
            drawPool(out, pool, grouped, grouped && pool[QStringLiteral("uuid")].toString() == lead);
    }

    const QJsonArray remoteApps = tree[QStringLiteral("remoteApps")].toArray();
    out << "Remote applications:" << (remoteApps.isEmpty() ? " none\n" : "\n");
    for (const QJsonValue &app : remoteApps) {
        out << "  " << compactJson(app[QStringLiteral("id")]);
        if (app[QStringLiteral("record")].toBool())
            out << "  " << compactJson(app[QStringLiteral("key")]) << " = " << compactJson(app[QStringLiteral("value")])
                << (app[QStringLiteral("policy")].toBool() ? "  with policy\n" : "\n");
        else
            out << "  no record\n";
    }
    const QJsonArray saasApps = tree[QStringLiteral("saasApps")].toArray();
    out << "SaaS applications:" << (saasApps.isEmpty() ? " none\n" : "\n");
    for (const QJsonValue &app : saasApps)
        out << "  " << compactJson(app[QStringLiteral("id")]) << '\n';
    return text;
}
