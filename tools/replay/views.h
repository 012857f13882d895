// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "options.h"
#include "view.h"

#include <memory>
#include <vector>

/// What \a options ask for, in the order in which it is printed.
std::vector<std::unique_ptr<View>> makeViews(const Options &options, const FeedPlayer &player);

/// Whether one of the views needs to know what each call changed.
bool needChanges(const Options &options);

/// What is stored in each of the player's databases.
QString drawTrees(const FeedPlayer &player);
