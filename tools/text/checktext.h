// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "analysis/check.h"

/// A difference whole: getItemCount() answers 12, recorded 11. Where another call ran at the same time and may be the reason,
/// that is said behind it.
QString toText(const Difference &difference);

/// What was not compared, as its log lines are switched off; empty if nothing was left out.
QString describeNotLogged(const Check &check);
