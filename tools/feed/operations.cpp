// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "operations.h"

#include <vmdatabase/vmdatabase.h>

#include <QtCore/QHash>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QStringList>

#include <limits>
#include <tuple>
#include <type_traits>

// How a value of a feed becomes an argument: one reader for each kind of parameter, and the kind's name in reports.

static bool readArgument(const QJsonValue &value, QString &text)
{
    text = value.toString(); // null for anything that is no text
    return value.isString() || value.isNull();
}

static bool readArgument(const QJsonValue &value, int &number)
{
    const double real = value.toDouble(std::numeric_limits<double>::quiet_NaN());
    if (!(real >= std::numeric_limits<int>::min() && real <= std::numeric_limits<int>::max()))
        return false;
    number = int(real);
    return number == real;
}

static bool readArgument(const QJsonValue &value, QJsonObject &object)
{
    object = value.toObject();
    return value.isObject();
}

template <typename Enum>
static std::enable_if_t<std::is_enum_v<Enum>, bool> readArgument(const QJsonValue &value, Enum &enumerator)
{
    int number = 0;
    const bool good = readArgument(value, number);
    enumerator = Enum(number);
    return good;
}

template <typename Parameter>
static QString kindOf()
{
    if constexpr (std::is_same_v<Parameter, QString>)
        return QStringLiteral("text or null");
    else if constexpr (std::is_same_v<Parameter, QJsonObject>)
        return QStringLiteral("object");
    else
        return QStringLiteral("32-bit integer");
}

// How an answer becomes JSON. A null text is null, an empty one "".

static QJsonValue toJson(const QString &text)
{
    return text.isNull() ? QJsonValue() : QJsonValue(text);
}

static QJsonValue toJson(const QList<QString> &texts)
{
    return QJsonArray::fromStringList(texts);
}

static QJsonValue toJson(const QMap<QString, QString> &texts)
{
    QJsonObject object;
    for (auto it = texts.cbegin(); it != texts.cend(); ++it)
        object.insert(it.key(), it.value());
    return object;
}

template <typename Value>
static QJsonValue toJson(const Value &value)
{
    return value;
}

// An argument that the operation writes to; a feed leaves it out.
template <typename Parameter>
static constexpr bool isOutput =
    std::is_lvalue_reference_v<Parameter> && !std::is_const_v<std::remove_reference_t<Parameter>>;

template <typename Parameter, typename Argument>
static void takeArgument(const QJsonArray &given, Argument &argument, int &position, Outcome &outcome)
{
    if (isOutput<Parameter> || !outcome.error.isEmpty())
        return;
    if (!readArgument(given.at(position), argument))
        outcome.error =
            QStringLiteral("argument %1 is of the wrong kind, expected %2").arg(position + 1).arg(kindOf<Argument>());
    ++position;
}

template <typename Result, typename... Parameters>
static Outcome play(VmDatabase &database, Result (VmDatabase::*function)(Parameters...), const QJsonArray &given)
{
    Outcome outcome;
    constexpr int expected = (0 + ... + int(!isOutput<Parameters>));
    if (given.size() != expected) {
        QStringList kinds;
        (..., (isOutput<Parameters> ? void() : kinds.append(kindOf<std::decay_t<Parameters>>())));
        outcome.error =
            QStringLiteral("%1 arguments, expected %2 (%3)")
                .arg(QString::number(given.size()), QString::number(expected), kinds.join(QStringLiteral(", ")));
        return outcome;
    }

    std::tuple<std::decay_t<Parameters>...> arguments;
    int position = 0;
    std::apply([&](auto &...argument) { (..., takeArgument<Parameters>(given, argument, position, outcome)); },
               arguments);
    if (!outcome.error.isEmpty())
        return outcome;

    const auto call = [&](auto &...argument) { return (database.*function)(argument...); };
    if constexpr (std::is_void_v<Result>) {
        std::apply(call, arguments);
    } else if constexpr ((... || isOutput<Parameters>)) {
        const bool found = std::apply(call, arguments);
        const QString &uuid = std::get<sizeof...(Parameters) - 1>(arguments);
        outcome.answer = QJsonObject{{QStringLiteral("found"), found}, {QStringLiteral("uuid"), toJson(uuid)}};
    } else {
        outcome.answer = toJson(std::apply(call, arguments));
    }
    return outcome;
}

template <auto Function>
static Outcome call(VmDatabase &database, const QJsonArray &arguments)
{
    return play(database, Function, arguments);
}

#define OPERATION(name)                                                                                                \
    {                                                                                                                  \
        QStringLiteral(#name),                                                                                         \
        {                                                                                                              \
            call<&VmDatabase::name>, false                                                                             \
        }                                                                                                              \
    }
#define OPEN_OPERATION(name)                                                                                           \
    {                                                                                                                  \
        QStringLiteral(#name),                                                                                         \
        {                                                                                                              \
            call<&VmDatabase::name>, true                                                                              \
        }                                                                                                              \
    }

const Operation *findOperation(const QString &name)
{
    static const QHash<QString, Operation> operations{
        OPERATION(clear),
        OPERATION(printDatabase),
        OPERATION(getNodeValue),
        OPERATION(getPoolNodeValue),
        OPERATION(setNodeValue),
        OPERATION(setPoolNodeValue),
        OPERATION(resetNodeValue),
        OPERATION(getPolicyValue),
        OPERATION(setPolicyValue),
        OPERATION(getItemCount),
        OPERATION(getItemCountByServerIp),
        OPERATION(getItemUuid),
        OPERATION(getItemType),
        OPERATION(getItemTypeByUuid),
        OPERATION(getParentUuid),
        OPERATION(getUuidByParentUuid),
        OPERATION(getResourceNameByParentUuid),
        OPERATION(getChildrenByParentUuid),
        OPERATION(getVmPoolNameList),
        OPERATION(removeNode),
        OPERATION(removeNodesByServerIp),
        OPERATION(removeChildrenByParentUuid),
        OPERATION(removeFamilyByParentUuid),
        OPERATION(wheelVmGroup),
        OPERATION(dealVmPools),
        OPERATION(dealVmGroupPool),
        OPEN_OPERATION(getAppCount),
        OPERATION(getAppNames),
        OPERATION(getRemoteAppId),
        OPERATION(getRemoteAppValue),
        OPERATION(setRemoteAppValue),
        OPERATION(deleteRemoteApp),
        OPERATION(getRemoteAppControlPolicy),
        OPERATION(setRemoteAppControlPolicy),
        OPERATION(clearRemoteAppList),
        OPERATION(setRemoteAppEnd),
        OPEN_OPERATION(getSaasAppCount),
        OPERATION(getSaasAppId),
        OPERATION(getSaasAppValue),
        OPERATION(setSaasAppValue),
        OPEN_OPERATION(clearSaasAppList),
        OPERATION(getAppsInfo),
        OPERATION(getAppsIdList),
        OPERATION(buildKeyName),
    };
    const auto it = operations.constFind(name);
    return it == operations.cend() ? nullptr : &it.value();
}

QString compactJson(const QJsonValue &value)
{
    // Only arrays and objects can be documents.
    const QByteArray json = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(json.mid(1, json.size() - 2));
}
