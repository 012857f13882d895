// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QString>

/// A terminal that shows one text in the place of the other, as much as there is room for. What was there before comes
/// back in the end.
class Screen
{
    Q_DISABLE_COPY(Screen)

public:
    Screen();
    ~Screen();

    static bool isAvailable();
    void show(const QString &text);
};
