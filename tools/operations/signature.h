// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <vmdatabase/vmdatabase.h>

#include <type_traits>

/// Whether an operation writes to the argument; a feed leaves it out.
template <typename Parameter>
constexpr bool isOutParameter =
    std::is_lvalue_reference_v<Parameter> && !std::is_const_v<std::remove_reference_t<Parameter>>;

/// What the type of a member function says.
template <typename Function>
struct Signature;

template <typename ResultType, typename... Parameters>
struct Signature<ResultType (VmDatabase::*)(Parameters...)>
{
    using Result = ResultType;
    static constexpr int inputs = (0 + ... + int(!isOutParameter<Parameters>));
};
