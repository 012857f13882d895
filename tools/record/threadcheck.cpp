// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "threadcheck.h"

#include "feed/feedline.h"
#include "recordfile.h"

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <cstdio>

// For addr2line: client+0x12f4. The address is where the call returns to; the call itself stands before it.
static QString placeOf(const void *address)
{
    Dl_info info{};
    void *map = nullptr;
    if (!address || dladdr1(address, &info, &map, RTLD_DL_LINKMAP) == 0 || !info.dli_fname)
        return {};
    const QString file = QString::fromLocal8Bit(info.dli_fname);
    const quintptr offset = quintptr(address) - static_cast<link_map *>(map)->l_addr - 1;
    return QStringLiteral("%1+0x%2").arg(file.mid(file.lastIndexOf(QLatin1Char('/')) + 1)).arg(offset, 0, 16);
}

// The lines about a call that begins, beside all others.
QStringList ThreadCheck::compare(const Running &running)
{
    QStringList lines;
    for (const Running &other : m_running) {
        if (other.database != running.database || other.thread == running.thread)
            continue;
        const QString text = conflict(other.touched, other.thread, running.touched, running.thread);
        if (text.isEmpty())
            continue;
        // In the order in which the report names them.
        const bool isOtherFirst = text.startsWith(other.thread + QLatin1Char(':'));
        const Running &first = isOtherFirst ? other : running;
        const Running &second = isOtherFirst ? running : other;
        QStringList pair{placeOf(first.caller), placeOf(second.caller)};
        pair.removeAll(QString());
        const QString places = pair.join(QStringLiteral(", "));
        const auto nameOf = [](const Running &call) {
            return QLatin1String(call.touched.row ? call.touched.row->name : "");
        };
        const QString key = nameOf(first) + QLatin1Char('|') + nameOf(second) + QLatin1Char('|') +
                            text.section(QStringLiteral(" which "), -1) + places;
        if (m_reported.contains(key))
            continue;
        m_reported << key;
        m_hasFound = true;
        lines << QStringLiteral("%1 (%2)").arg(text, places);
    }
    return lines;
}

void ThreadCheck::report(const QStringList &lines)
{
    for (const QString &text : lines) {
        dprintf(STDERR_FILENO, "threads: %s\n", qUtf8Printable(text));
        FeedLine line;
        line.kind = FeedLine::About;
        line.about = {{QStringLiteral("threads"), text}};
        m_file.write(formatLine(line) + '\n');
    }
}

ThreadCheck::Entry ThreadCheck::enter(const void *database, const QString &thread, const void *caller,
                                      const QJsonArray &call, const QJsonArray &shown)
{
    QStringList lines;
    Entry entry;
    {
        const std::lock_guard<std::mutex> locker(m_mutex);
        const Operation *operation = findOperation(call.at(0).toString());
        if (operation && operation->life == Operation::Constructor)
            m_names.remove(database); // another one that was there before
        m_running.push_front({database, thread, caller, m_names[database].enter(call)});
        entry = m_running.begin();
        entry->touched.call = briefCall(shown);
        lines = compare(*entry);
    }
    report(lines);
    return entry;
}

void ThreadCheck::leave(Entry running)
{
    const std::lock_guard<std::mutex> locker(m_mutex);
    m_running.erase(running);
}

void ThreadCheck::deleteRecord(Touched (StoredNames::*touch)(const QString &), const QString &name,
                               const QString &thread)
{
    QStringList lines;
    {
        const std::lock_guard<std::mutex> locker(m_mutex);
        for (auto it = m_names.begin(); it != m_names.end(); ++it) {
            const Touched touched = (*it.*touch)(name);
            if (touched.touches == 0)
                continue;
            lines = compare({it.key(), thread, nullptr, touched});
            break;
        }
    }
    report(lines);
}

void ThreadCheck::deletePool(const QString &uuid, const QString &thread)
{
    deleteRecord(&StoredNames::deletePool, uuid, thread);
}

void ThreadCheck::deleteApp(const QString &id, const QString &thread)
{
    deleteRecord(&StoredNames::deleteApp, id, thread);
}

// A child has but the one thread that made it.
void ThreadCheck::endFork(bool isChild, const QString &thread)
{
    if (isChild) {
        for (Running &running : m_running) {
            if (running.thread != thread)
                running.touched.touches = 0;
        }
    }
    m_mutex.unlock();
}
