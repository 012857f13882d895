// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "options.h"
#include "output.h"
#include "screen.h"
#include "view.h"

#include <memory>
#include <vector>

/// Plays the feeds of a command line and prints what it asks for.
class Replay
{
public:
    explicit Replay(const Options &options);

    /// Plays all feeds, until \a isInterrupted. Returns whether all was good.
    bool run(const volatile int &isInterrupted);

private:
    void playFile(const QString &name, qint64 until, const volatile int &isInterrupted);
    void playLine(const FeedLine &line);
    void showScreen();
    void writeLog(const Played &played);
    void reportLine(const FeedLine &line, const QString &error);
    void printStats();

    const Options m_options;
    QElapsedTimer m_timer;
    Progress m_progress;
    FeedPlayer m_player;
    std::unique_ptr<Sink> m_sink;
    std::vector<std::unique_ptr<View>> m_views;
    std::unique_ptr<Screen> m_screen; // while a growing feed is followed
    qint64 m_shownCalls = -1;
    QString m_file;
    QString m_case;
    qint64 m_line = 0;
    qint64 m_calls = 0;
    qint64 m_badLines = 0;
    bool m_isGood = true;
    bool m_isReadable = false; // any of the files
    qint64 m_reading = 0;      // nanoseconds
    qint64 m_calling = 0;
};
