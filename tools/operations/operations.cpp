// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "operations.h"

#include "feed/json.h"

#include <vmdatabase/vmdatabase.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QHash>

#include <algorithm>
#include <limits>
#include <numeric>
#include <tuple>
#include <type_traits>
#include <vector>

// How a value of a feed becomes an argument: one reader for each kind of parameter, and the kind's name in reports.

static bool readArgument(const QJsonValue &value, NamedNumbers, QString &text)
{
    text = value.toString(); // null for anything that is no text
    return value.isString() || value.isNull();
}

static bool readArgument(const QJsonValue &value, NamedNumbers names, int &number)
{
    if (value.isString())
        return numberOf(value.toString(), names, &number);
    const double real = value.toDouble(std::numeric_limits<double>::quiet_NaN());
    if (!(real >= std::numeric_limits<int>::min() && real <= std::numeric_limits<int>::max()))
        return false;
    number = int(real);
    return number == real;
}

static bool readArgument(const QJsonValue &value, NamedNumbers, QJsonObject &object)
{
    object = value.toObject();
    return value.isObject();
}

static bool readArgument(const QJsonValue &value, NamedNumbers, VdiVM::VmType &type)
{
    int number = 0;
    const bool good = readArgument(value, NamedNumbers::VmTypes, number);
    type = VdiVM::VmType(number);
    return good;
}

static bool readArgument(const QJsonValue &value, NamedNumbers, VdiVM::PolicyType &type)
{
    int number = 0;
    const bool good = readArgument(value, NamedNumbers::None, number);
    type = VdiVM::PolicyType(number);
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

// An argument that the operation writes to; a feed leaves it out.
template <typename Parameter>
static constexpr bool isOutput =
    std::is_lvalue_reference_v<Parameter> && !std::is_const_v<std::remove_reference_t<Parameter>>;

static NamedNumbers namesOf(const Operation &operation, int parameter)
{
    return operation.parameters.at(parameter) == QLatin1String("key") ? operation.keys : NamedNumbers::None;
}

template <typename Parameter, typename Argument>
static void takeArgument(const Operation &operation, const QJsonArray &call, Argument &argument, int &position,
                         QString &error)
{
    if (isOutput<Parameter> || !error.isEmpty())
        return;
    if (!readArgument(call.at(position + 1), namesOf(operation, position), argument))
        error = QStringLiteral("%1: argument %2 (%3) is of the wrong kind, expected %4")
                    .arg(operation.name)
                    .arg(position + 1)
                    .arg(operation.parameters.at(position), kindOf<Argument>());
    ++position;
}

template <typename... Parameters>
static QString wrongCount(const Operation &operation, int given)
{
    QStringList kinds;
    (..., (isOutput<Parameters> ? void() : kinds.append(kindOf<std::decay_t<Parameters>>())));
    for (int i = 0; i < kinds.size(); ++i)
        kinds[i].prepend(operation.parameters.at(i) + QStringLiteral(": "));
    return QStringLiteral("%1: %2 argument%3, expected %4%5")
        .arg(operation.name, QString::number(given), given == 1 ? QString() : QStringLiteral("s"),
             QString::number(kinds.size()),
             kinds.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(kinds.join(QStringLiteral(", "))));
}

namespace {
class Stopwatch
{
public:
    explicit Stopwatch(qint64 &nanoseconds)
        : m_nanoseconds(nanoseconds)
    {
        m_timer.start();
    }
    ~Stopwatch() { m_nanoseconds = m_timer.nsecsElapsed(); }

private:
    Q_DISABLE_COPY(Stopwatch)

    qint64 &m_nanoseconds;
    QElapsedTimer m_timer;
};
} // namespace

template <typename Result, typename... Parameters>
static Answer play(const Operation &operation, VmDatabase &database, Result (VmDatabase::*function)(Parameters...),
                   const QJsonArray &call)
{
    Answer answer;
    constexpr int expected = (0 + ... + int(!isOutput<Parameters>));
    if (call.size() != expected + 1) {
        answer.error = wrongCount<Parameters...>(operation, call.size() - 1);
        return answer;
    }

    std::tuple<std::decay_t<Parameters>...> arguments;
    int position = 0;
    std::apply(
        [&](auto &...argument) { (..., takeArgument<Parameters>(operation, call, argument, position, answer.error)); },
        arguments);
    if (!answer.error.isEmpty())
        return answer;

    const auto apply = [&](auto &...argument) {
        const Stopwatch stopwatch(answer.nanoseconds);
        return (database.*function)(argument...);
    };
    if constexpr (std::is_void_v<Result>) {
        std::apply(apply, arguments);
    } else if constexpr ((... || isOutput<Parameters>)) {
        const bool found = std::apply(apply, arguments);
        const QString &uuid = std::get<sizeof...(Parameters) - 1>(arguments);
        answer.value = QJsonObject{{QStringLiteral("found"), found}, {QStringLiteral("uuid"), toJson(uuid)}};
    } else {
        answer.value = toJson(std::apply(apply, arguments));
    }
    return answer;
}

template <auto Function>
static Answer play(const Operation &operation, VmDatabase &database, const QJsonArray &call)
{
    return play(operation, database, Function, call);
}

static Operation makeOperation(const char *name, const char *parameters, NamedNumbers keys, bool needsOpen,
                               decltype(Operation::play) play)
{
    const QString text = QString::fromLatin1(name);
    const QString names = QString::fromLatin1(parameters);
    const bool removes = text.startsWith(QLatin1String("remove")) || text.startsWith(QLatin1String("delete")) ||
                         text.startsWith(QLatin1String("clear")) || text.startsWith(QLatin1Char('~'));
    return {text, names.isEmpty() ? QStringList() : names.split(QLatin1Char(' ')), keys, needsOpen, removes, play};
}

#define OPERATION(name, keys, parameters)                                                                              \
    makeOperation(#name, parameters, NamedNumbers::keys, false, play<&VmDatabase::name>)
#define OPEN_OPERATION(name) makeOperation(#name, "", NamedNumbers::None, true, play<&VmDatabase::name>)

const QVector<Operation> &allOperations()
{
    static const QVector<Operation> operations{
        makeOperation("VmDatabase", "", NamedNumbers::None, false, nullptr),
        makeOperation("~VmDatabase", "", NamedNumbers::None, false, nullptr),
        OPERATION(clear, None, ""),
        OPERATION(printDatabase, None, ""),
        OPERATION(getNodeValue, NodeKeys, "parentUuid uuid type key"),
        OPERATION(getPoolNodeValue, NodeKeys, "uuid key"),
        OPERATION(setNodeValue, NodeKeys, "parentUuid uuid type key value"),
        OPERATION(setPoolNodeValue, NodeKeys, "uuid key value"),
        OPERATION(resetNodeValue, NodeKeys, "parentUuid uuid type key"),
        OPERATION(getPolicyValue, None, "parentUuid uuid type key"),
        OPERATION(setPolicyValue, None, "parentUuid uuid type key value"),
        OPERATION(getItemCount, None, ""),
        OPERATION(getItemCountByServerIp, None, "serverIp"),
        OPERATION(getItemUuid, None, "index"),
        OPERATION(getItemType, None, "index"),
        OPERATION(getItemTypeByUuid, None, "uuid"),
        OPERATION(getParentUuid, None, "uuid"),
        OPERATION(getUuidByParentUuid, None, "parentUuid"),
        OPERATION(getResourceNameByParentUuid, None, "parentUuid"),
        OPERATION(getChildrenByParentUuid, None, "parentUuid"),
        OPERATION(getVmPoolNameList, None, ""),
        OPERATION(removeNode, None, "uuid"),
        OPERATION(removeNodesByServerIp, None, "serverIp"),
        OPERATION(removeChildrenByParentUuid, None, "parentUuid"),
        OPERATION(removeFamilyByParentUuid, None, "parentUuid"),
        OPERATION(wheelVmGroup, None, "group"),
        OPERATION(dealVmPools, None, ""),
        OPERATION(dealVmGroupPool, None, ""),
        OPEN_OPERATION(getAppCount),
        OPERATION(getAppNames, None, ""),
        OPERATION(getRemoteAppId, None, "index"),
        OPERATION(getRemoteAppValue, AppKeys, "appId key"),
        OPERATION(setRemoteAppValue, AppKeys, "appId key value"),
        OPERATION(deleteRemoteApp, None, "appId"),
        OPERATION(getRemoteAppControlPolicy, None, "appId"),
        OPERATION(setRemoteAppControlPolicy, None, "appId policy"),
        OPERATION(clearRemoteAppList, None, ""),
        OPERATION(setRemoteAppEnd, None, ""),
        OPEN_OPERATION(getSaasAppCount),
        OPERATION(getSaasAppId, None, "index"),
        OPERATION(getSaasAppValue, AppKeys, "appId key"),
        OPERATION(setSaasAppValue, AppKeys, "appId key value"),
        OPEN_OPERATION(clearSaasAppList),
        OPERATION(getAppsInfo, None, ""),
        OPERATION(getAppsIdList, None, ""),
        OPERATION(buildKeyName, None, "prefix name"),
    };
    return operations;
}

const Operation *findOperation(const QString &name)
{
    static const QHash<QString, const Operation *> byName = [] {
        QHash<QString, const Operation *> hash;
        for (const Operation &operation : allOperations())
            hash.insert(operation.name, &operation);
        return hash;
    }();
    return byName.value(name);
}

// The least number of characters to insert, remove or replace, upper and lower case alike.
static int editDistance(const QString &a, const QString &b)
{
    std::vector<int> row(size_t(b.size()) + 1);
    std::iota(row.begin(), row.end(), 0);
    for (int i = 0; i < a.size(); ++i) {
        int diagonal = std::exchange(row[0], i + 1);
        for (size_t j = 1; j < row.size(); ++j) {
            const int replaced = diagonal + int(a.at(i).toLower() != b.at(int(j) - 1).toLower());
            diagonal = row[j];
            row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

QString similarOperation(const QString &name)
{
    QString similar;
    if (name.size() > 40) // no operation is as long
        return similar;
    int least = std::max(2, name.size() / 3) + 1;
    for (const Operation &operation : allOperations()) {
        const int distance = editDistance(name, operation.name);
        if (distance < least) {
            least = distance;
            similar = operation.name;
        }
    }
    return similar;
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
