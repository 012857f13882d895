// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// What this library puts in front of libvmdatabase and Qt: each public function of VmDatabase, by its own name, records
// the call and makes it; so does Qt's way for log lines.

#include "listener.h"
#include "nextfunction.h"
#include "operations/signature.h"
#include "recordedcall.h"

#include <tuple>
#include <utility>

// A call of the client's; where the client made it is the address that the public function returns to.
template <auto Function, typename Type = decltype(Function)>
struct ClientCall;

template <auto Function, typename Result, typename... Parameters>
struct ClientCall<Function, Result (VmDatabase::*)(Parameters...)>
{
    VmDatabase *database;
    const char *operation;
    int hides;
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

    RecordedCall call(*thread, database, operation, hides, caller);
    (..., (isOutParameter<Parameters> ? void() : call.addArgument(arguments)));
    call.begin();
    if constexpr (std::is_void_v<Result>) {
        (database->*next)(std::forward<Parameters>(arguments)...);
        call.end();
        call.write();
    } else {
        Result answer = (database->*next)(std::forward<Parameters>(arguments)...);
        call.end();
        if constexpr ((... || isOutParameter<Parameters>))
            call.setFound(answer, std::get<sizeof...(Parameters) - 1>(std::tie(arguments...)));
        else
            call.setAnswer(std::as_const(answer));
        call.write();
        return answer;
    }
}

// NOLINTBEGIN(bugprone-macro-parentheses): names and lists of a declaration
#define OPERATION(name, parameters, arguments, keys, hides, ...)                                                       \
    Signature<decltype(&VmDatabase::name)>::Result VmDatabase::name parameters                                         \
    {                                                                                                                  \
        return ClientCall<&VmDatabase::name>{this, #name, hides, __builtin_return_address(0)} arguments;               \
    }
#include "operations/operationlist.h"
#undef OPERATION
// NOLINTEND(bugprone-macro-parentheses)

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
        RecordedCall call(*thread, database, begins ? "VmDatabase" : "~VmDatabase", HidesNothing, caller);
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
