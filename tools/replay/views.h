// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "feed/check.h"
#include "view.h"

/// Prints what calls answer and emit.
class AnswersView : public View
{
public:
    explicit AnswersView(bool json)
        : m_json(json)
    {}
    void follow(const Played &played) override;

private:
    void printJson(const Played &played, const QString &member, const QJsonValue &value) const;

    const bool m_json;
};

/// Prints what differs from what was recorded.
class CheckView : public View
{
public:
    explicit CheckView(bool json)
        : m_json(json)
    {}
    void follow(const Played &played) override;
    bool finish() override;

private:
    const bool m_json;
    Check m_check;
    qint64 m_calls = 0;
};
