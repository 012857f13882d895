// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <signal.h>

/// Writes the calls that are in progress when the client crashes, and passes the signal on to whoever the client has
/// set for it. The client sees and changes its own handlers only.
class FatalSignals
{
public:
    static void install();

    /// Gives the thread that asks a stack for handlers, unless it has one: its own may be what has overflowed.
    static void provideStack();
    static void releaseStack();

    /// To be called when a call is not in progress any more, before anything of it changes: a handler on another thread
    /// may be about to write it.
    static void letFinish();

    /// What the client asks for with sigaction(). False if that is not for us.
    static bool replace(int signal, const struct sigaction *action, struct sigaction *previous);

private:
    static void handle(int signal, siginfo_t *info, void *context);
    static void writeCalls(int signal);
    static void passOn(int signal, siginfo_t *info, void *context);
};
