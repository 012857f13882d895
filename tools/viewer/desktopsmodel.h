// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "analysis/ranking.h"
#include "store/storecopy.h"

#include <QtCore/QAbstractListModel>
#include <QtCore/QHash>

/// What a user's client would draw at one moment: a desktop, which is a pool or a group of pools.
struct Desktop
{
    using State = Rules::Visibility;
    static constexpr State Shown = State::Shown;
    static constexpr State Hidden = State::Hidden;
    static constexpr State Undecided = State::Undecided;
    struct Machine
    {
        QString name;
        QString status;
        bool isActive = false;
        bool operator==(const Machine &other) const;
    };
    struct Place ///< Of a pool in its group.
    {
        QString uuid;
        QString name;
        QString detail;
        State state = Undecided;
        bool isFailed = false;
        bool operator==(const Place &other) const;
    };
    static constexpr int mostMachines = 4;
    static constexpr int mostPlaces = 6;

    QString pool;  ///< The uuid of the pool, or of its group's lead.
    QString group; ///< Null for a pool of its own.
    QString name;
    State state = Undecided;
    bool isFailed = false;
    bool isChanged = false;    ///< Whether the call changed a pool of it.
    QVector<Machine> machines; ///< Of the lead; the first few.
    int machineCount = 0;
    QVector<Place> ranking; ///< Of a group; the first few.
    int placeCount = 0;

    bool operator==(const Desktop &other) const;
};
Q_DECLARE_METATYPE(Desktop)

class DesktopsModel : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role { DesktopRole = Qt::UserRole, PoolRole };
    using QAbstractListModel::QAbstractListModel;

    void show(const StoreCopy &stored, const QVector<Change> &changes);
    void setShowsHidden(bool shows);

    const QVector<Desktop> &desktops() const { return m_desktops; }
    QModelIndex indexOfPool(const QString &uuid) const;

    /// "3 shown, 2 hidden".
    QString summary() const;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

private:
    Desktop desktopOf(const QString &uuid, const StoreCopy::Pool &pool) const;
    Desktop desktopOf(const QString &group, const RankedPools &pools, const StoreCopy &stored) const;

    QVector<Desktop> m_desktops;
    StoreCopy m_stored;
    QVector<Change> m_changes;
    QMap<Desktop::State, int> m_counts; // of all desktops
    bool m_showsHidden = true;
};
