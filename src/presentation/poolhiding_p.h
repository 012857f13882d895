// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "vmdatabase/vdivm.h"
#include "vmdatabase/vmpoolnode.h"

inline void show(VmPoolNode *pool)
{
    pool->setValue(VdiVM::HiddenKey, QStringLiteral("0"));
}

inline void hide(VmPoolNode *pool)
{
    pool->setValue(VdiVM::HiddenKey, QStringLiteral("1"));
}
