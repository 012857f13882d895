// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "fatalsignals.h"

#include "nextfunction.h"
#include "recordedcall.h"

#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <iterator>

namespace {
constexpr int signals[] = {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL};
constexpr const char *names[] = {"SIGSEGV", "SIGABRT", "SIGBUS", "SIGFPE", "SIGILL"};
struct sigaction clientActions[std::size(signals)];
bool isInstalled = false;

std::atomic<bool> isWriting{false};
thread_local void *handlerStack = nullptr;
constexpr size_t stackSize = 64 << 10; // the largest register sets take 11 KB
} // namespace

static int indexOf(int signal)
{
    for (size_t i = 0; i < std::size(signals); ++i) {
        if (signals[i] == signal)
            return int(i);
    }
    return -1;
}

static int realSigaction(int signal, const struct sigaction *action, struct sigaction *previous)
{
    using Function = int (*)(int, const struct sigaction *, struct sigaction *);
    static const auto function = reinterpret_cast<Function>(nextFunction("sigaction"));
    return function(signal, action, previous);
}

void FatalSignals::install()
{
    struct sigaction action = {};
    action.sa_sigaction = &FatalSignals::handle;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigfillset(&action.sa_mask);
    for (size_t i = 0; i < std::size(signals); ++i)
        realSigaction(signals[i], &action, &clientActions[i]);
    isInstalled = true;
}

bool FatalSignals::replace(int signal, const struct sigaction *action, struct sigaction *previous)
{
    const int index = isInstalled ? indexOf(signal) : -1;
    if (index < 0)
        return false;
    const struct sigaction old = clientActions[index];
    if (action)
        clientActions[index] = *action;
    if (previous)
        *previous = old;
    return true;
}

void FatalSignals::provideStack()
{
    stack_t stack{};
    if (sigaltstack(nullptr, &stack) != 0 || !(stack.ss_flags & SS_DISABLE))
        return;
    handlerStack = std::malloc(stackSize);
    stack = {};
    stack.ss_sp = handlerStack;
    stack.ss_size = stackSize;
    sigaltstack(&stack, nullptr);
}

void FatalSignals::releaseStack()
{
    stack_t stack{};
    if (!handlerStack || sigaltstack(nullptr, &stack) != 0)
        return;
    if (stack.ss_sp == handlerStack) {
        stack = {};
        stack.ss_flags = SS_DISABLE;
        sigaltstack(&stack, nullptr);
    }
    std::free(handlerStack);
    handlerStack = nullptr;
}

void FatalSignals::letFinish()
{
    while (isWriting)
        usleep(100);
}

// Only what a signal handler may do: the texts were made when the calls began.
void FatalSignals::writeCalls(int signal)
{
    constexpr int most = 256;
    iovec parts[4 * most + 3];
    int count = 0;
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): the same structure serves reading
    const auto add = [&](const char *text, int size) { parts[count++] = {const_cast<char *>(text), size_t(size)}; };
    const auto addText = [&](const char *text) { add(text, int(std::strlen(text))); };
    addText("{\"unfinished\":[");
    for (const RecordedThread *thread = Recorder::threads; thread; thread = thread->next) {
        for (const RecordedCall *call = thread->innermost; call; call = call->m_outer) {
            if (count + 6 > int(std::size(parts)))
                break;
            if (count > 1)
                addText(",");
            add(call->m_line.constData(), call->m_line.size());
            add(call->m_place.constData(), call->m_place.size());
            addText("}");
        }
    }
    if (count == 1)
        return; // the library has nothing to do with it
    addText("],\"signal\":\"");
    addText(names[indexOf(signal)]);
    addText("\"}\n");
    Recorder::instance().file.writeParts(parts, count);
}

void FatalSignals::passOn(int signal, siginfo_t *info, void *context)
{
    struct sigaction &client = clientActions[indexOf(signal)];
    const struct sigaction action = client;
    const bool isFault = info->si_code > 0 && signal != SIGABRT; // comes again when this returns
    if (!(action.sa_flags & SA_SIGINFO) && (action.sa_handler == SIG_DFL || action.sa_handler == SIG_IGN)) {
        if (action.sa_handler == SIG_IGN && !isFault)
            return;
        struct sigaction standard = {};
        standard.sa_handler = SIG_DFL;
        realSigaction(signal, &standard, nullptr);
        if (!isFault)
            raise(signal);
        return;
    }
    if (unsigned(action.sa_flags) & SA_RESETHAND) {
        client = {};
        client.sa_handler = SIG_DFL;
    }
    const sigset_t mask = static_cast<ucontext_t *>(context)->uc_sigmask; // as it would be without this handler
    sigset_t both;
    sigorset(&both, &mask, &action.sa_mask);
    if (!(action.sa_flags & SA_NODEFER))
        sigaddset(&both, signal);
    pthread_sigmask(SIG_SETMASK, &both, nullptr);
    if (action.sa_flags & SA_SIGINFO)
        action.sa_sigaction(signal, info, context);
    else
        action.sa_handler(signal);
}

void FatalSignals::handle(int signal, siginfo_t *info, void *context)
{
    const int error = errno;
    while (isWriting.exchange(true))
        usleep(100); // another thread crashes, too
    writeCalls(signal);
    isWriting = false;
    passOn(signal, info, context);
    errno = error;
}

// In the place of the C library's, whose parameters have reserved names.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)

extern "C" Q_DECL_EXPORT int sigaction(int signal, const struct sigaction *action, struct sigaction *previous) noexcept
{
    return FatalSignals::replace(signal, action, previous) ? 0 : realSigaction(signal, action, previous);
}

extern "C" Q_DECL_EXPORT sighandler_t signal(int signal, sighandler_t handler) noexcept
{
    struct sigaction action = {};
    struct sigaction previous = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    if (sigaction(signal, &action, &previous) != 0)
        return SIG_ERR;
    return previous.sa_handler;
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)
