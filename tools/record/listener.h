// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QObject>

/// Hears of a database's signals before the client does, on the thread that emits them. Connected by name, since the
/// library may not be there: a program that the client starts need not link it. One for each database, because sender()
/// says nothing on other threads than the receiver's.
class Listener : public QObject
{
    Q_OBJECT

public:
    explicit Listener(QObject *database);

    Q_SLOT void hearUpdate();
    Q_SLOT void hearDestroyed();

private:
    QObject *const m_database;
};
