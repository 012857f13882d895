// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "analysis/lint.h"

/// A finding without its place, and with it.
QString describeFinding(const Finding &finding);
QString toText(const Finding &finding);
QJsonObject toJson(const Finding &finding);

/// A line for each finding that came again, and for each kind of which there were too many.
QStringList describeRepeated(const Lint &lint);
