// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "store/playedcall.h"

/// Every change of one thing that is stored, in the order of the calls.
///
/// What to follow is a text. "POOL" is a pool with its items, "POOL/ITEM" one item with its policies, and ":KEY" after
/// either one value of it alone; the key is a number or a name like HiddenKey. "app ID" is an application, remote or
/// SaaS, with or without ":KEY". A uuid may itself contain slashes and colons. So the text is read in every way that is
/// possible, and at each change that way counts whose uuids are stored then, the longest pool uuid first, then the
/// longest item uuid.
class History
{
public:
    explicit History(const QString &what);

    /// Of what \a subject changes: one value, or all of a pool, item or application if it is added or removed.
    explicit History(const Change &subject);

    struct Entry
    {
        Place place;
        QString operation;
        int database = 1;
        bool byReading = false; ///< Whether the call only asks, and has added the pool all the same.
        Change change;
    };

    /// What the call changed of it.
    QVector<Entry> follow(const PlayedCall &played) const;

    /// Whether \a change is one of it. \a stored is what is stored after it.
    bool matches(const Change &change, const StoreCopy &stored) const;

private:
    struct Value
    {
        Change::Kind kind;
        int policy;
        int key;
    };
    struct Reading
    {
        QString id;
        std::optional<QString> item;
        std::optional<Value> value;
    };
    const Reading *readingOf(const Change &change, const StoreCopy &stored) const;
    bool isOfApps() const { return !m_tables.contains(Change::Pools); }

    QVector<Change::Table> m_tables;
    QVector<Reading> m_readings; // the preferred ones first
};
