// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "feedline.h"
#include "feedplayer.h"

/// Compares what came of a call with what a feed has recorded of it, as far as it has. A feed may say that it records
/// everything, {"feed": 1, "complete": true}: there a call without `log` or `signals` logs or emits nothing.
class Check
{
public:
    /// What is different, whole: "getItemCount() answers 12, recorded 11". Empty if nothing is.
    QStringList compare(const FeedLine &recorded, const Outcome &played);

    int compared() const { return m_compared; }
    int different() const { return m_different; }

private:
    bool m_complete = false;
    int m_compared = 0; // calls of which something is recorded
    int m_different = 0;
};
