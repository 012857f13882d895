// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "dump.h"

#include "feed/json.h"
#include "operations/keynames.h"
#include "texttable.h"

static void drawValues(QString &text, const StoreCopy::Values &values, NamedNumbers names, int indent)
{
    const TextTable table(names == NamedNumbers::None ? QVector<int>{4} : QVector<int>{4, 24}, 1);
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        const QString number = QString::number(it.key());
        QStringList cells{number.rightJustified(4)};
        if (names != NamedNumbers::None)
            cells << (nameOf(it.key(), names) == number ? QString() : nameOf(it.key(), names));
        cells << compactJson(toJson(it.value()));
        text += QString(indent, QLatin1Char(' ')) + table.line(cells) + QLatin1Char('\n');
    }
}

static void drawApps(QString &text, const QMap<QString, StoreCopy::App> &apps, const char *kind)
{
    for (auto app = apps.cbegin(); app != apps.cend(); ++app) {
        text += QLatin1String(kind) + QLatin1Char(' ') + compactJson(app.key()) +
                (app->hasRecord ? QStringLiteral("\n") : QStringLiteral(", listed without a record\n"));
        drawValues(text, app->values, NamedNumbers::AppKeys, 2);
        if (!app->controlPolicy.isEmpty())
            text += QStringLiteral("  control policy ") + compactJson(app->controlPolicy) + QLatin1Char('\n');
    }
}

QString drawDump(const StoreCopy &stored, const QString &onlyPool)
{
    QString text;
    for (auto pool = stored.pools.cbegin(); pool != stored.pools.cend(); ++pool) {
        if (!onlyPool.isNull() && pool.key() != onlyPool)
            continue;
        text += QStringLiteral("pool ") + compactJson(pool.key()) + QLatin1Char('\n');
        drawValues(text, pool->values, NamedNumbers::NodeKeys, 2);
        for (auto item = pool->items.cbegin(); item != pool->items.cend(); ++item) {
            text += QStringLiteral("  item ") + compactJson(item.key()) + QLatin1Char('\n');
            drawValues(text, item->values, NamedNumbers::NodeKeys, 4);
            for (auto policy = item->policies.cbegin(); policy != item->policies.cend(); ++policy) {
                text += QStringLiteral("    policy %1\n").arg(policy.key());
                drawValues(text, *policy, NamedNumbers::None, 6);
            }
        }
    }
    if (!onlyPool.isNull())
        return text;
    drawApps(text, stored.remoteApps, "remote application");
    drawApps(text, stored.saasApps, "SaaS application");
    return text;
}

static QJsonArray readValues(const StoreCopy::Values &values, NamedNumbers names)
{
    QJsonArray json;
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        QJsonObject value{{QStringLiteral("key"), it.key()}, {QStringLiteral("value"), toJson(it.value())}};
        const QString name = nameOf(it.key(), names);
        if (name != QString::number(it.key()))
            value[QStringLiteral("keyName")] = name;
        json << value;
    }
    return json;
}

static QJsonArray readApps(const QMap<QString, StoreCopy::App> &apps)
{
    QJsonArray json;
    for (auto app = apps.cbegin(); app != apps.cend(); ++app)
        json << QJsonObject{{QStringLiteral("id"), app.key()},
                            {QStringLiteral("record"), app->hasRecord},
                            {QStringLiteral("values"), readValues(app->values, NamedNumbers::AppKeys)},
                            {QStringLiteral("controlPolicy"), app->controlPolicy}};
    return json;
}

static QJsonArray readItems(const QMap<QString, StoreCopy::Item> &items)
{
    QJsonArray json;
    for (auto item = items.cbegin(); item != items.cend(); ++item) {
        QJsonArray policies;
        for (auto policy = item->policies.cbegin(); policy != item->policies.cend(); ++policy)
            policies << QJsonObject{{QStringLiteral("type"), policy.key()},
                                    {QStringLiteral("values"), readValues(*policy, NamedNumbers::None)}};
        json << QJsonObject{{QStringLiteral("uuid"), item.key()},
                            {QStringLiteral("values"), readValues(item->values, NamedNumbers::NodeKeys)},
                            {QStringLiteral("policies"), policies}};
    }
    return json;
}

QJsonObject readDump(const StoreCopy &stored, const QString &onlyPool)
{
    QJsonArray pools;
    for (auto pool = stored.pools.cbegin(); pool != stored.pools.cend(); ++pool) {
        if (onlyPool.isNull() || pool.key() == onlyPool)
            pools << QJsonObject{{QStringLiteral("uuid"), pool.key()},
                                 {QStringLiteral("values"), readValues(pool->values, NamedNumbers::NodeKeys)},
                                 {QStringLiteral("items"), readItems(pool->items)}};
    }
    QJsonObject json{{QStringLiteral("pools"), pools}};
    if (onlyPool.isNull()) {
        json[QStringLiteral("remoteApps")] = readApps(stored.remoteApps);
        json[QStringLiteral("saasApps")] = readApps(stored.saasApps);
    }
    return json;
}
