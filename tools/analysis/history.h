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

    struct Entry
    {
        Place place;
        QString operation;
        int database = 1;
        bool byReading = false; ///< Whether the call only asks, and has added the pool all the same.
        Change change;
    };

    /// What the call changed of it.
    QVector<Entry> follow(const PlayedCall &played);

    /// An entry as a line in columns: desktops.jsonl:62  dealVmPools  HiddenKey  "0" -> "1"
    QString text(const Entry &entry) const;
    QJsonObject toJson(const Entry &entry) const;

private:
    struct Reading
    {
        QString id;
        std::optional<QString> item;
        std::optional<int> key;
    };
    const Reading *readingOf(const Change &change, const StoreCopy &stored) const;
    bool matches(const Change &change, const StoreCopy &stored) const;

    bool m_isApp = false;
    QVector<Reading> m_readings; // the preferred ones first
};
