// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "feed/feedline.h"
#include "feedplayer.h"
#include "storecopy.h"

/// Where a line of a feed stands.
struct Place
{
    QString file;
    qint64 line = 0;
};

/// "desktops.jsonl:58".
inline QString toText(const Place &place)
{
    return place.file + QLatin1Char(':') + QString::number(place.line);
}

inline QJsonObject toJson(const Place &place)
{
    return {{QStringLiteral("file"), place.file}, {QStringLiteral("line"), place.line}};
}

/// A line of a feed that has been played, as the views of a feed take it in one after the other. The player has to
/// follow changes.
struct PlayedCall
{
    Place place;
    const FeedLine &line;
    const Outcome &outcome;
    const StoreCopy &stored; ///< Of the line's database, after the call.
};
