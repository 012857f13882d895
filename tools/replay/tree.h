// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QJsonObject>
#include <QtCore/QString>

class FeedPlayer;

/// What is stored in the end: pools with their items, remote and SaaS applications. Logs nothing.
QJsonObject readTree(FeedPlayer &player);

/// \a tree as a person reads it: groups together, each with its lead pool marked. The wheel of each group is turned to
/// find the lead, so the tree has to be read before. Logs nothing.
QString drawTree(const QJsonObject &tree, FeedPlayer &player);
