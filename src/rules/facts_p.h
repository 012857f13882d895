// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "vmdatabase/vdivm.h"

#include <QtCore/QtGlobal>

// The rules of the decisions, as plain functions over plain numbers: the library applies them to what is stored, the tools
// explain with them. Texts are read as text_p.h reads them.
namespace Rules {

/// What decisions read of a pool; a set of them is an `unsigned`. What a decision does not read cannot change what it
/// writes.
enum Fact : unsigned {
    GroupFact = 1,
    TypeFact = 2,
    SeveralFact = 4,
    FailedFact = 8,
    PreferredFact = 16,
    PriorityFact = 32,
    ItemsFact = 64, ///< Whether the pool holds an item.
    ActiveFact = 128,
};

/// What puts a pool before another of its group.
constexpr unsigned rankFacts = GroupFact | FailedFact | PreferredFact | PriorityFact;

enum class Decision { DealPools, DealGroups, Wheel };

/// What a decision about a pool reads of that pool and, if it has a group, of each other pool in it.
constexpr unsigned factsOf(Decision decision, bool isGrouped)
{
    if (decision == Decision::Wheel)
        return rankFacts;
    const unsigned groupFacts = rankFacts | SeveralFact | ItemsFact;
    if (decision == Decision::DealGroups)
        return groupFacts;
    return isGrouped ? groupFacts | ActiveFact : GroupFact | TypeFact | SeveralFact | ItemsFact | ActiveFact;
}

enum class Reading { Unsigned, Signed, Text };

/// A key that decisions read, of a pool or of its items. No other key decides.
struct DecidingKey
{
    int key;
    Fact fact;
    Reading reading;
    bool ofItem;
};
constexpr DecidingKey decidingKeys[] = {
    {VdiVM::GroupKey, GroupFact, Reading::Text, false},
    {VdiVM::PoolTypeKey, TypeFact, Reading::Unsigned, false},
    {VdiVM::AllowMultiDynamicKey, SeveralFact, Reading::Signed, false},
    {VdiVM::FailedToConnectKey, FailedFact, Reading::Unsigned, false},
    {VdiVM::PreferredKey, PreferredFact, Reading::Unsigned, false},
    {VdiVM::PriorityKey, PriorityFact, Reading::Unsigned, false},
    {VdiVM::ItemActiveKey, ActiveFact, Reading::Unsigned, true},
};

/// Null if no decision reads \a key of a pool or an item.
constexpr const DecidingKey *findDecidingKey(int key, bool ofItem)
{
    for (const DecidingKey &deciding : decidingKeys) {
        if (deciding.key == key && deciding.ofItem == ofItem)
            return &deciding;
    }
    return nullptr;
}

/// An item that makes its pool active: dealVmPools() then clears the pool's failure.
constexpr bool isActive(uint itemActive)
{
    return itemActive == 1;
}

} // namespace Rules
