// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// What this library puts in front of libvmdatabase and Qt: each public function of VmDatabase, by its own name, records
// the call and makes it; so does Qt's way for log lines.

#include "listener.h"
#include "nextfunction.h"
#include "recordedcall.h"

#include <vmdatabase/vmdatabase.h>

#include <tuple>
#include <utility>

template <typename Parameter>
static constexpr bool isOutput =
    std::is_lvalue_reference_v<Parameter> && !std::is_const_v<std::remove_reference_t<Parameter>>;

// A call of the client's; where the client made it is the address that the public function returns to.
template <auto Function, typename Type = decltype(Function)>
struct ClientCall;

template <auto Function, typename Result, typename... Parameters>
struct ClientCall<Function, Result (VmDatabase::*)(Parameters...)>
{
    VmDatabase *database;
    const char *operation;
    int redaction;
    const void *caller;

    Result operator()(Parameters... arguments) const;
};

template <auto Function, typename Result, typename... Parameters>
Result ClientCall<Function, Result (VmDatabase::*)(Parameters...)>::operator()(Parameters... arguments) const
{
    const auto next = nextMember<Function>();
    RecordedThread *const thread = RecordedThread::client();
    if (!thread)
        return (database->*next)(std::forward<Parameters>(arguments)...);

    RecordedCall call(*thread, database, operation, redaction, caller);
    (..., (isOutput<Parameters> ? void() : call.addArgument(arguments)));
    call.begin();
    if constexpr (std::is_void_v<Result>) {
        (database->*next)(std::forward<Parameters>(arguments)...);
        call.end();
        call.write();
    } else {
        Result answer = (database->*next)(std::forward<Parameters>(arguments)...);
        call.end();
        if constexpr ((... || isOutput<Parameters>))
            call.setFound(answer, std::get<sizeof...(Parameters) - 1>(std::tie(arguments...)));
        else
            call.setAnswer(std::as_const(answer));
        call.write();
        return answer;
    }
}

// NOLINTNEXTLINE(bugprone-macro-parentheses): a member's name
#define RECORD(name, redaction) (ClientCall<&VmDatabase::name>{this, #name, redaction, __builtin_return_address(0)})

void VmDatabase::clear()
{
    return RECORD(clear, RecordedCall::RedactsNothing)();
}

void VmDatabase::printDatabase()
{
    return RECORD(printDatabase, RecordedCall::RedactsNothing)();
}

QString VmDatabase::getNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key)
{
    return RECORD(getNodeValue, RecordedCall::RedactsKey)(parentUuid, uuid, type, key);
}

QString VmDatabase::getPoolNodeValue(const QString &uuid, int key)
{
    return RECORD(getPoolNodeValue, RecordedCall::RedactsKey)(uuid, key);
}

void VmDatabase::setNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key,
                              const QString &value)
{
    return RECORD(setNodeValue, RecordedCall::RedactsKey)(parentUuid, uuid, type, key, value);
}

void VmDatabase::setPoolNodeValue(const QString &uuid, int key, const QString &value)
{
    return RECORD(setPoolNodeValue, RecordedCall::RedactsKey)(uuid, key, value);
}

void VmDatabase::resetNodeValue(const QString &parentUuid, const QString &uuid, const VdiVM::VmType &type, int key)
{
    return RECORD(resetNodeValue, RecordedCall::RedactsKey)(parentUuid, uuid, type, key);
}

QString VmDatabase::getPolicyValue(const QString &parentUuid, const QString &uuid, const VdiVM::PolicyType &type,
                                   int key)
{
    return RECORD(getPolicyValue, RecordedCall::RedactsKey)(parentUuid, uuid, type, key);
}

void VmDatabase::setPolicyValue(const QString &parentUuid, const QString &uuid, const VdiVM::PolicyType &type, int key,
                                const QString &value)
{
    return RECORD(setPolicyValue, RecordedCall::RedactsKey)(parentUuid, uuid, type, key, value);
}

int VmDatabase::getItemCount()
{
    return RECORD(getItemCount, RecordedCall::RedactsNothing)();
}

int VmDatabase::getItemCountByServerIp(const QString &serverIp)
{
    return RECORD(getItemCountByServerIp, VdiVM::ServerIpKey)(serverIp);
}

QString VmDatabase::getItemUuid(int index)
{
    return RECORD(getItemUuid, RecordedCall::RedactsNothing)(index);
}

int VmDatabase::getItemType(int index)
{
    return RECORD(getItemType, RecordedCall::RedactsNothing)(index);
}

int VmDatabase::getItemTypeByUuid(const QString &uuid)
{
    return RECORD(getItemTypeByUuid, RecordedCall::RedactsNothing)(uuid);
}

QString VmDatabase::getParentUuid(const QString &uuid)
{
    return RECORD(getParentUuid, RecordedCall::RedactsNothing)(uuid);
}

QString VmDatabase::getUuidByParentUuid(const QString &parentUuid)
{
    return RECORD(getUuidByParentUuid, RecordedCall::RedactsNothing)(parentUuid);
}

QString VmDatabase::getResourceNameByParentUuid(const QString &parentUuid)
{
    return RECORD(getResourceNameByParentUuid, VdiVM::ResourceNameKey)(parentUuid);
}

QList<QString> VmDatabase::getChildrenByParentUuid(const QString &parentUuid)
{
    return RECORD(getChildrenByParentUuid, RecordedCall::RedactsNothing)(parentUuid);
}

QList<QString> VmDatabase::getVmPoolNameList()
{
    return RECORD(getVmPoolNameList, RecordedCall::RedactsNothing)();
}

void VmDatabase::removeNode(const QString &uuid)
{
    return RECORD(removeNode, RecordedCall::RedactsNothing)(uuid);
}

void VmDatabase::removeNodesByServerIp(const QString &serverIp)
{
    return RECORD(removeNodesByServerIp, VdiVM::ServerIpKey)(serverIp);
}

void VmDatabase::removeChildrenByParentUuid(const QString &parentUuid)
{
    return RECORD(removeChildrenByParentUuid, RecordedCall::RedactsNothing)(parentUuid);
}

void VmDatabase::removeFamilyByParentUuid(const QString &parentUuid)
{
    return RECORD(removeFamilyByParentUuid, RecordedCall::RedactsNothing)(parentUuid);
}

bool VmDatabase::wheelVmGroup(QString group, QString &uuid)
{
    return RECORD(wheelVmGroup, VdiVM::GroupKey)(std::move(group), uuid);
}

void VmDatabase::dealVmPools()
{
    return RECORD(dealVmPools, RecordedCall::RedactsNothing)();
}

void VmDatabase::dealVmGroupPool()
{
    return RECORD(dealVmGroupPool, RecordedCall::RedactsNothing)();
}

int VmDatabase::getAppCount()
{
    return RECORD(getAppCount, RecordedCall::RedactsNothing)();
}

QList<QString> VmDatabase::getAppNames()
{
    return RECORD(getAppNames, RecordedCall::RedactsNothing)();
}

QString VmDatabase::getRemoteAppId(int index)
{
    return RECORD(getRemoteAppId, RecordedCall::RedactsNothing)(index);
}

QString VmDatabase::getRemoteAppValue(QString appId, int key)
{
    return RECORD(getRemoteAppValue, RecordedCall::RedactsKey)(std::move(appId), key);
}

void VmDatabase::setRemoteAppValue(QString appId, int key, const QString &value)
{
    return RECORD(setRemoteAppValue, RecordedCall::RedactsKey)(std::move(appId), key, value);
}

void VmDatabase::deleteRemoteApp(QString appId)
{
    return RECORD(deleteRemoteApp, RecordedCall::RedactsNothing)(std::move(appId));
}

const QJsonObject &VmDatabase::getRemoteAppControlPolicy(QString appId)
{
    return RECORD(getRemoteAppControlPolicy, RecordedCall::RedactsNothing)(std::move(appId));
}

void VmDatabase::setRemoteAppControlPolicy(QString appId, const QJsonObject &policy)
{
    return RECORD(setRemoteAppControlPolicy, RecordedCall::RedactsNothing)(std::move(appId), policy);
}

void VmDatabase::clearRemoteAppList()
{
    return RECORD(clearRemoteAppList, RecordedCall::RedactsNothing)();
}

void VmDatabase::setRemoteAppEnd()
{
    return RECORD(setRemoteAppEnd, RecordedCall::RedactsNothing)();
}

int VmDatabase::getSaasAppCount()
{
    return RECORD(getSaasAppCount, RecordedCall::RedactsNothing)();
}

QString VmDatabase::getSaasAppId(int index)
{
    return RECORD(getSaasAppId, RecordedCall::RedactsNothing)(index);
}

QString VmDatabase::getSaasAppValue(QString appId, int key)
{
    return RECORD(getSaasAppValue, RecordedCall::RedactsKey)(std::move(appId), key);
}

void VmDatabase::setSaasAppValue(QString appId, int key, const QString &value)
{
    return RECORD(setSaasAppValue, RecordedCall::RedactsKey)(std::move(appId), key, value);
}

void VmDatabase::clearSaasAppList()
{
    return RECORD(clearSaasAppList, RecordedCall::RedactsNothing)();
}

QMap<QString, QString> VmDatabase::getAppsInfo()
{
    return RECORD(getAppsInfo, RecordedCall::HidesAnswer)();
}

QList<QString> VmDatabase::getAppsIdList()
{
    return RECORD(getAppsIdList, RecordedCall::RedactsNothing)();
}

QString VmDatabase::buildKeyName(QString prefix, QString name)
{
    return RECORD(buildKeyName, RecordedCall::RedactsNothing)(std::move(prefix), std::move(name));
}

// Constructors and destructors have no address; these are the names of their two and three kinds.

template <typename... Parameters>
static void recordLife(const char *name, void *database, const void *caller, bool begins, Parameters... parameters)
{
    // Each name has a next function of its own, and asks for it once in a database's life.
    const auto next = reinterpret_cast<void (*)(void *, Parameters...)>(nextFunction(name));
    RecordedThread *const thread = RecordedThread::client();
    if (!thread) {
        next(database, parameters...);
        return;
    }
    Recorder &recorder = Recorder::instance();
    if (begins)
        recorder.add(database);
    {
        RecordedCall call(*thread, database, begins ? "VmDatabase" : "~VmDatabase", RecordedCall::RedactsNothing,
                          caller);
        call.begin();
        next(database, parameters...);
        call.end();
        call.write();
    }
    if (begins)
        new Listener(static_cast<QObject *>(database));
}

#define CONSTRUCTOR(kind)                                                                                              \
    extern "C" Q_DECL_EXPORT void construct##kind(void *database,                                                      \
                                                  QObject *parent) __asm__("_ZN10VmDatabaseC" #kind "EP7QObject");     \
    void construct##kind(void *database, QObject *parent)                                                              \
    {                                                                                                                  \
        recordLife("_ZN10VmDatabaseC" #kind "EP7QObject", database, __builtin_return_address(0), true, parent);        \
    }
#define DESTRUCTOR(kind)                                                                                               \
    extern "C" Q_DECL_EXPORT void destroy##kind(void *database) __asm__("_ZN10VmDatabaseD" #kind "Ev");                \
    void destroy##kind(void *database)                                                                                 \
    {                                                                                                                  \
        recordLife("_ZN10VmDatabaseD" #kind "Ev", database, __builtin_return_address(0), false);                       \
    }
CONSTRUCTOR(1)
CONSTRUCTOR(2)
DESTRUCTOR(0)
DESTRUCTOR(1)
DESTRUCTOR(2)

// What the event loop deletes of what was removed.
#define DELETION(name, symbol)                                                                                         \
    extern "C" Q_DECL_EXPORT void name(void *record) __asm__(symbol);                                                  \
    void name(void *record)                                                                                            \
    {                                                                                                                  \
        static const auto next = reinterpret_cast<void (*)(void *)>(nextFunction(symbol));                             \
        Recorder::instance().name(record);                                                                             \
        next(record);                                                                                                  \
    }
DELETION(deletesPool, "_ZN10VmPoolNodeD0Ev")
DELETION(deletesApp, "_ZN9RemoteAppD0Ev")

// Every log line of the library comes here, on its way to the client's handler or to Qt's own.
void qt_message_output(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    static const auto next = reinterpret_cast<void (*)(QtMsgType, const QMessageLogContext &, const QString &)>(
        nextFunction("_Z17qt_message_output9QtMsgTypeRK18QMessageLogContextRK7QString"));
    RecordedThread *const thread = RecordedThread::current();
    RecordedCall *const call = thread && thread->isInLibrary ? thread->innermost.load() : nullptr;
    if (!call) {
        next(type, context, text);
        return;
    }
    call->addLog(type, text);
    const ClientSection section(*thread); // calls that the handler makes are the client's
    next(type, context, text);
}
