// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QString>

#include <cstring>

/// The function of this mangled name that would be called if this library did not define one, also where the client
/// has loaded libvmdatabase itself, with a plugin. Ends the process if there is none, which cannot be: somebody called.
void *nextFunction(const char *name);

/// The name under which the dynamic linker knows a function of this library.
const char *nameOfFunction(const void *function);

/// The next function for a member function of a class of the client's, not a virtual one.
template <auto Function>
auto nextMember()
{
    static const auto next = [] {
        auto member = Function;
        void *address = nullptr;
        std::memcpy(&address, &member, sizeof(address)); // the ABI's first word
        address = nextFunction(nameOfFunction(address));
        std::memcpy(&member, &address, sizeof(address));
        return member;
    }();
    return next;
}

/// What a record answers to getValue(), which has this mangled name.
QString valueOf(void *record, const char *getValue, int key);
