// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QJsonObject>

/// Stands in for the control policy of every application that has no record.
inline const QJsonObject &noControlPolicy()
{
    static const QJsonObject policy;
    return policy;
}
