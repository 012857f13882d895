// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QtAlgorithms>

#include <algorithm>
#include <vector>

namespace Rules {

/// What ranks a pool in its group.
struct Rank
{
    uint failed = 0;
    uint preferred = 0;
    uint priority = 0;
};

/// Why one pool goes before another.
enum class Precedence { None, NotFailed, Preferred, Priority };

/// Why \a a goes before \a b: a pool that has not failed to connect before one that has, then a preferred one, then the
/// higher priority. Not a strict weak order for every input: of two pools whose failure flags are 1 and 2 each goes before
/// the other; with such preference flags neither does, whatever their priorities.
constexpr Precedence precedence(const Rank &a, const Rank &b)
{
    if (a.failed != b.failed)
        return b.failed != 0 ? Precedence::NotFailed : Precedence::None;
    if (a.preferred != b.preferred)
        return b.preferred == 0 ? Precedence::Preferred : Precedence::None;
    return a.priority > b.priority ? Precedence::Priority : Precedence::None;
}

/// Sorts the pools of a group, which are of a class derived from Rank, the lead first.
template <typename Pool>
void sortPools(std::vector<Pool> &pools)
{
    const auto goesFirst = [](const Rank &a, const Rank &b) { return precedence(a, b) != Precedence::None; };
    // std::sort may read out of bounds with an order that is not strict and weak; qSort checks its bounds at every
    // step. It is deprecated because it is slower, which does not matter here.
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    qSort(pools.begin(), pools.end(), goesFirst);
    QT_WARNING_POP
}

/// Which pool of a group leads, whatever order they are sorted from.
struct Lead
{
    enum Reason {
        OnlyPool,
        NotFailed, ///< It has not failed to connect, all others have.
        Preferred,
        Priority,
        ClashingFailures,    ///< None: all have failed, and their flags differ.
        ClashingPreferences, ///< None: the flags of the preferred ones differ.
        Equal,               ///< None: some are alike in all that ranks them.
    };
    Reason reason = OnlyPool;
    std::vector<size_t> contenders; ///< Positions; no other pool can come first. One if it is certain.

    bool isCertain() const { return reason < ClashingFailures; }
};

/// The lead of the pools of a group, of which there is at least one. It is certain exactly if sortPools() puts the same pool
/// first for every order of \a pools: what goes before all others is never behind one of them, and of pools between which
/// nothing decides, any may come first.
template <typename Pool>
Lead findLead(const std::vector<Pool> &pools)
{
    Lead lead;
    for (size_t i = 0; i < pools.size(); ++i)
        lead.contenders.push_back(i);
    // Keeps the contenders that are better than others, if some are.
    const auto narrow = [&](Lead::Reason reason, auto isBetter) {
        std::vector<size_t> better;
        std::copy_if(lead.contenders.begin(), lead.contenders.end(), std::back_inserter(better),
                     [&](size_t i) { return isBetter(pools[i]); });
        if (better.empty() || better.size() == lead.contenders.size())
            return;
        lead.contenders = better;
        lead.reason = reason;
    };
    const auto clash = [&](Lead::Reason reason, uint Rank::*flag) {
        const uint first = pools[lead.contenders.front()].*flag;
        const bool clashes = std::any_of(lead.contenders.begin(), lead.contenders.end(),
                                         [&](size_t i) { return pools[i].*flag != first; });
        if (clashes)
            lead.reason = reason;
        return clashes;
    };
    narrow(Lead::NotFailed, [](const Rank &pool) { return pool.failed == 0; });
    if (clash(Lead::ClashingFailures, &Rank::failed))
        return lead;
    narrow(Lead::Preferred, [](const Rank &pool) { return pool.preferred != 0; });
    if (clash(Lead::ClashingPreferences, &Rank::preferred))
        return lead;
    uint highest = 0;
    for (const size_t i : lead.contenders)
        highest = std::max(highest, pools[i].priority);
    narrow(Lead::Priority, [&](const Rank &pool) { return pool.priority == highest; });
    if (lead.contenders.size() > 1)
        lead.reason = Lead::Equal;
    return lead;
}

} // namespace Rules
