// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "operations.h"

#include "signature.h"

#include <QtCore/QHash>

#include <algorithm>
#include <numeric>
#include <vector>

namespace {

// A value of the pool itself, and of an item.
constexpr quint32 poolValue = LooksUpPool | UsesPools;
constexpr quint32 itemValue = poolValue | ReadsItems;

// The names in "(uuid, key)".
QStringList namesIn(const char *arguments, int count)
{
    const QString text = QString::fromLatin1(arguments);
    return text.mid(1, text.size() - 2).split(QStringLiteral(", ")).mid(0, count);
}

// Derived, so that the list needs no qualified names.
struct List : Operation
{
    static QVector<Operation> make()
    {
        return {
            {QStringLiteral("VmDatabase"), {}, NamedNumbers::None, HidesNothing, AboutNothing, 0, 0, Constructor},
            {QStringLiteral("~VmDatabase"),
             {},
             NamedNumbers::None,
             HidesNothing,
             AboutDatabase,
             Removes | Closes,
             EndsDatabase,
             Destructor},
#define OPERATION(name, parameters, arguments, keys, hides, subject, traits, touches)                                  \
    {QStringLiteral(#name),                                                                                            \
     namesIn(#arguments, Signature<decltype(&VmDatabase::name)>::inputs),                                              \
     NamedNumbers::keys,                                                                                               \
     hides,                                                                                                            \
     subject,                                                                                                          \
     traits,                                                                                                           \
     touches,                                                                                                          \
     Ordinary},
#include "operationlist.h"
#undef OPERATION
        };
    }
};

} // namespace

const QVector<Operation> &allOperations()
{
    static const QVector<Operation> operations = List::make();
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

QJsonValue Call::argument(const char *parameter) const
{
    const int index = m_operation ? m_operation->parameters.indexOf(QLatin1String(parameter)) : -1;
    return index < 0 ? QJsonValue() : m_call.at(index + 1);
}

int Call::type() const
{
    return numberIn(argument("type"), subject() == Operation::AboutNode ? NamedNumbers::VmTypes : NamedNumbers::None);
}

int Call::key() const
{
    return numberIn(argument("key"), m_operation ? m_operation->keys : NamedNumbers::None);
}

bool Call::isOfItem() const
{
    return subject() == Operation::AboutNode && type() == VdiVM::ItemNode;
}

bool Call::isOfPool() const
{
    return subject() == Operation::AboutPool || (subject() == Operation::AboutNode && type() != VdiVM::ItemNode &&
                                                 (type() != VdiVM::UnknownNode || !has(Operation::Adds)));
}
