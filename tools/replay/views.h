// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "sink.h"

#include <QtCore/QVector>

/// A view that can be asked for.
struct ViewKind
{
    const char *option;    ///< Null for the answers, which are printed unless something in particular is asked for.
    const char *valueName; ///< Null if the option takes no value.
    const char *help;      ///< Null for what there is without an option.
    bool needsChanges;     ///< Whether the player has to follow what each call changes.
    std::unique_ptr<View> (*make)(const ViewContext &context, const QString &argument);
};

/// All of them, in the order in which they print.
const QVector<ViewKind> &viewKinds();
