// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "playcall.h"

#include "feed/json.h"
#include "operations/signature.h"

#include <QtCore/QElapsedTimer>

#include <limits>
#include <tuple>

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

static NamedNumbers namesOf(const Operation &operation, int parameter)
{
    return operation.parameters.at(parameter) == QLatin1String("key") ? operation.keys : NamedNumbers::None;
}

template <typename Parameter, typename Argument>
static void takeArgument(const Operation &operation, const QJsonArray &call, Argument &argument, int &position,
                         QString &error)
{
    if (isOutParameter<Parameter> || !error.isEmpty())
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
    (..., (isOutParameter<Parameters> ? void() : kinds.append(kindOf<std::decay_t<Parameters>>())));
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
    constexpr int expected = (0 + ... + int(!isOutParameter<Parameters>));
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
    } else if constexpr ((... || isOutParameter<Parameters>)) {
        const bool found = std::apply(apply, arguments);
        const QString &uuid = std::get<sizeof...(Parameters) - 1>(arguments);
        answer.value = foundAnswer(found, uuid);
    } else {
        answer.value = toJson(std::apply(apply, arguments));
    }
    return answer;
}

using Player = Answer (*)(const Operation &, VmDatabase &, const QJsonArray &);

template <auto Function>
static Answer playMember(const Operation &operation, VmDatabase &database, const QJsonArray &call)
{
    return play(operation, database, Function, call);
}

Answer playCall(const Operation &operation, VmDatabase &database, const QJsonArray &call)
{
    // As allOperations() has them.
    static constexpr Player players[] = {
        nullptr,
        nullptr,
#define OPERATION(name, ...) playMember<&VmDatabase::name>,
#include "operations/operationlist.h"
#undef OPERATION
    };
    return players[&operation - allOperations().constData()](operation, database, call);
}
