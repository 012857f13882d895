// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <vmdatabase/vmitemnode.h>
#include <vmdatabase/vmpolicy.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QMutex>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <QtCore/QStringList>
#include <QtTest/QtTest>

#include <memory>
#include <vector>

extern Q_CORE_EXPORT quintptr qtHookData[]; // Qt's own, for tools that watch its objects

inline QString operator""_s(const char16_t *text, size_t size)
{
    return QString::fromUtf16(text, int(size));
}

/// Every QObject made since main() began that is still alive: how a test finds what the library leaves behind.
class LiveObjects
{
public:
    template <typename Type>
    static QList<Type *> ofType()
    {
        QMutexLocker locker(&mutex);
        QList<Type *> found;
        for (QObject *object : std::as_const(objects)) {
            if (auto *match = qobject_cast<Type *>(object))
                found << match;
        }
        return found;
    }

    /// An item leaves its policy record of type 10 behind. Called while the items live, this makes those records, and
    /// no others, the test's own, so that LeakSanitizer needs no suppression.
    static void ownLeftPolicies()
    {
        static std::vector<std::unique_ptr<VmPolicy>> left;
        const QList<VmItemNode *> items = ofType<VmItemNode>();
        for (VmItemNode *item : items) {
            if (!owned.contains(item))
                left.emplace_back(item->getVmPolicy(10));
            owned << item;
        }
    }

private:
    static void add(QObject *object)
    {
        QMutexLocker locker(&mutex);
        objects << object;
    }
    static void remove(QObject *object)
    {
        QMutexLocker locker(&mutex);
        objects.remove(object);
        owned.remove(object);
    }
    static bool watch()
    {
        enum { AddQObject = 3, RemoveQObject = 4 };
        qtHookData[AddQObject] = reinterpret_cast<quintptr>(&add);
        qtHookData[RemoveQObject] = reinterpret_cast<quintptr>(&remove);
        return true;
    }
    static inline QMutex mutex;
    static inline QSet<QObject *> objects;
    static inline QSet<QObject *> owned;
    static inline const bool watching = watch();
};

/// What an event loop would do; and before it the items that go are asked for what they leave behind. Qt keeps the
/// spent entries of its queue until it is asked for events of every type.
inline void runDeferredDeletions()
{
    LiveObjects::ownLeftPolicies();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::sendPostedEvents();
}

/// Catches log lines while it lives: "I: text" or "C: text", with the context if it is not the expected one. The line
/// number of an error location, which any edit changes, reads N.
class LogCapture
{
public:
    LogCapture()
    {
        lines.clear();
        m_previous = qInstallMessageHandler(handle);
    }
    ~LogCapture() { qInstallMessageHandler(m_previous); }

    QStringList take()
    {
        const QStringList taken = lines;
        lines.clear();
        return taken;
    }

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &text)
    {
        static QMutex mutex;
        QMutexLocker locker(&mutex);
        QString line = type == QtInfoMsg ? u"I: "_s : type == QtCriticalMsg ? u"C: "_s : u"other: "_s;
        if (qstrcmp(context.category, "default") != 0 || context.file || context.function || context.line)
            line += u"unexpected context: "_s;
        static const QRegularExpression number(u"(error occur in: .*) -- [1-9][0-9]*$"_s);
        lines << line + QString(text).replace(number, u"\\1 -- N"_s);
    }

    static inline QStringList lines;
    QtMessageHandler m_previous;
};

/// Whether both are the same. If not, fails at the line of \a file where the first difference stands, which is printed
/// whole: QCOMPARE cuts long texts. \a line is that of the first expected one.
inline bool compareLines(const QStringList &actual, const QStringList &expected, const QString &call,
                         const QString &file, int line)
{
    int i = 0;
    while (i < actual.size() && i < expected.size() && actual[i] == expected[i])
        ++i;
    if (i == actual.size() && i == expected.size())
        return true;
    const QString text = call + u"\n   Actual:   "_s + actual.value(i, u"(nothing more)"_s) + u"\n   Expected: "_s +
                         expected.value(i, u"(nothing more)"_s);
    QTest::qFail(text.toUtf8(), file.toUtf8(), line + i);
    return false;
}

/// Whether \a text is empty and, as asked, null or not: two different answers.
inline bool isNull(const QString &text)
{
    return text.isNull();
}
inline bool isEmptyNotNull(const QString &text)
{
    return text.isEmpty() && !text.isNull();
}
