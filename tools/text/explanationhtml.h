// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "analysis/explain.h"

/// The explanation for a text browser, without its style. Places are links, "line:58"; classes are `title`, `ranking`,
/// `this` for the pool in its ranking, and `shown`, `hidden` and `removed`.
QString toHtml(const PoolExplanation &explanation);
