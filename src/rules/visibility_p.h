// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "rules/facts_p.h"
#include "rules/order_p.h"

#include <QtCore/QString>

namespace Rules {

/// What VdiVM::HiddenKey says of a pool.
enum class Visibility { Undecided, Shown, Hidden };

inline QString hiddenText(Visibility visibility)
{
    return visibility == Visibility::Shown ? QStringLiteral("0") : QStringLiteral("1");
}

/// Undecided for any text that no decision writes.
inline Visibility visibilityOf(const QString &hidden)
{
    return hidden == QLatin1String("0")   ? Visibility::Shown
           : hidden == QLatin1String("1") ? Visibility::Hidden
                                          : Visibility::Undecided;
}

/// All that decisions read of a pool.
struct PoolFacts : Rank
{
    QString group;
    uint type = 0;
    int several = 0;
    bool hasItems = false;
    bool hasActiveItem = false;

    uint poolType() const { return type; }
    bool isGrouped() const { return !group.isEmpty(); }
    bool allowsSeveral() const { return several != 0; }
    bool isPreferred() const { return preferred != 0; }
    bool holdsItem() const { return hasItems; }
};

/// The facts in which a pool differs from what it was.
inline unsigned differingFacts(const PoolFacts &a, const PoolFacts &b)
{
    return (a.group != b.group ? GroupFact : 0U) | (a.type != b.type ? TypeFact : 0U) |
           (a.allowsSeveral() != b.allowsSeveral() ? SeveralFact : 0U) | (a.failed != b.failed ? FailedFact : 0U) |
           (a.preferred != b.preferred ? PreferredFact : 0U) | (a.priority != b.priority ? PriorityFact : 0U) |
           (a.hasItems != b.hasItems ? ItemsFact : 0U) | (a.hasActiveItem != b.hasActiveItem ? ActiveFact : 0U);
}

/// What decides about a pool before its group does.
enum class PoolRule {
    EmptyByType, ///< Shown while it holds no item, since it is of type 1, 3 or 7.
    LeftToGroup, ///< Hidden until its group decides.
    Empty,       ///< Shown while it holds no item, since it does not allow several desktops.
    Always,      ///< Shown whatever it holds.
};

/// \a pool is a PoolFacts or has the same functions. Only those that decide are called.
template <typename Pool>
PoolRule poolRule(const Pool &pool)
{
    const uint type = pool.poolType();
    if (type == 1 || type == 3 || type == 7)
        return PoolRule::EmptyByType;
    if (pool.isGrouped())
        return PoolRule::LeftToGroup;
    return pool.allowsSeveral() ? PoolRule::Always : PoolRule::Empty;
}

template <typename Pool>
Visibility visibilityBy(PoolRule rule, const Pool &pool)
{
    const bool shows = rule == PoolRule::Always || (rule != PoolRule::LeftToGroup && !pool.holdsItem());
    return shows ? Visibility::Shown : Visibility::Hidden;
}

/// What a group shows: its lead or nothing, never another pool.
enum class GroupRule {
    LeadForSeveral, ///< A pool both allows several desktops and is preferred.
    LeadWhileEmpty, ///< No pool holds an item.
    Nothing,        ///< A pool holds an item.
};

/// Gathers what decides about a group, pool by pool.
class GroupFacts
{
public:
    template <typename Pool>
    void add(const Pool &pool)
    {
        m_holdsItem = m_holdsItem || pool.holdsItem();
        m_allowsSeveral = m_allowsSeveral || (pool.allowsSeveral() && pool.isPreferred());
    }

    GroupRule rule() const
    {
        return m_allowsSeveral ? GroupRule::LeadForSeveral
               : m_holdsItem   ? GroupRule::Nothing
                               : GroupRule::LeadWhileEmpty;
    }

private:
    bool m_holdsItem = false;
    bool m_allowsSeveral = false;
};

/// Whether the wheel may return a pool. It shows its lead nevertheless.
constexpr bool isUsable(uint failed)
{
    return failed == 0;
}

} // namespace Rules
