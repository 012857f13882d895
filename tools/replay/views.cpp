// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "views.h"

#include "feed/json.h"
#include "output.h"
#include "text/checktext.h"
#include "text/describe.h"
#include "text/dump.h"
#include "text/explanationtext.h"
#include "text/historytext.h"
#include "text/linttext.h"
#include "text/tree.h"
#include "threads/overlaps.h"

QString Played::heading() const
{
    QString text = toText(place) + QStringLiteral(": ");
    if (!caseName.isEmpty())
        text += escapeControls(caseName) + QStringLiteral(": ");
    if (line.database != 1)
        text += QStringLiteral("database %1: ").arg(line.database);
    return text;
}

static QString describePlayed(const Played &played)
{
    QString text = toText(played.place) + QLatin1Char(' ');
    if (played.line.database != 1)
        text += QStringLiteral("database %1: ").arg(played.line.database);
    return text + describeCall(played.line.call);
}

static QJsonObject toJson(const Played &played, const QString &member, const QJsonValue &value)
{
    QJsonArray arguments = played.line.call;
    arguments.removeFirst();
    QJsonObject object = toJson(played.place);
    object[QStringLiteral("operation")] = played.line.operation();
    object[QStringLiteral("arguments")] = arguments;
    object[member] = value;
    if (played.line.database != 1)
        object[QStringLiteral("database")] = played.line.database;
    return object;
}

template <typename Draw>
static QString drawEach(const FeedPlayer &player, Draw draw)
{
    const QList<int> databases = player.databases();
    QString text;
    for (const int number : databases) {
        if (databases != QList<int>{1}) // the usual one needs no name
            text += QStringLiteral("Database %1\n").arg(number);
        text += draw(player.stored(number));
    }
    return databases.isEmpty() ? QStringLiteral("There is no database.\n") : text;
}

QString drawTrees(const FeedPlayer &player)
{
    return drawEach(player, [](const StoreCopy &stored) { return drawTree(stored); });
}

namespace {

class AnswersView : public View
{
public:
    explicit AnswersView(bool json)
        : m_json(json)
    {}

    void follow(const Played &played) override
    {
        if (played.line.kind == FeedLine::Case && !m_json)
            printLine(QStringLiteral("%1 case %2").arg(toText(played.place), compactJson(played.caseName)));
        for (const QString &name : played.outcome.emitted) {
            if (m_json)
                printLine(toJson(played, QStringLiteral("signal"), name));
            else
                printLine(describePlayed(played) + QStringLiteral(" emits ") + name);
        }
        if (played.outcome.answer.isUndefined())
            return;
        if (m_json)
            printLine(toJson(played, QStringLiteral("answer"), played.outcome.answer));
        else
            printLine(describePlayed(played) + QStringLiteral(" -> ") + compactJson(played.outcome.answer));
    }

private:
    const bool m_json;
};

class DiffView : public View
{
public:
    explicit DiffView(bool json)
        : m_json(json)
    {}

    void follow(const Played &played) override
    {
        const QVector<Change> &changes = played.outcome.changes;
        if (changes.isEmpty())
            return;
        if (m_json) {
            QJsonArray array;
            for (const Change &change : changes)
                array << ::toJson(change);
            printLine(toJson(played, QStringLiteral("changes"), array));
            return;
        }
        printLine(describePlayed(played));
        for (const Change &change : changes)
            printLine(QStringLiteral("    ") + describeChange(change));
    }

private:
    const bool m_json;
};

class CheckView : public View
{
public:
    explicit CheckView(bool json)
        : m_json(json)
    {}

    void beginFeed() override { m_check.beginFeed(); }

    void follow(const Played &played) override
    {
        if (!played.outcome.error.isEmpty())
            return; // reported already
        m_calls += int(played.line.kind == FeedLine::Call);
        if (played.line.kind == FeedLine::Unfinished)
            printUnfinished(played);
        const QVector<Difference> differences = m_check.compare(played.line, played.outcome);
        for (const Difference &difference : differences) {
            if (m_json)
                printLine(toJson(played, QStringLiteral("difference"), toText(difference)));
            else
                printLine(played.heading() + toText(difference));
        }
    }

    bool finish() override
    {
        const QStringList notLogged = m_check.notLogged();
        if (m_json) {
            QJsonObject json{{QStringLiteral("calls"), m_calls},
                             {QStringLiteral("compared"), m_check.compared()},
                             {QStringLiteral("differ"), m_check.different()}};
            if (!notLogged.isEmpty())
                json[QStringLiteral("notLogged")] = QJsonArray::fromStringList(notLogged);
            printLine({{QStringLiteral("check"), json}});
            return m_check.different() == 0;
        }
        if (!notLogged.isEmpty())
            printLine(describeNotLogged(m_check));
        printLine(QStringLiteral("%1 calls, %2 compared, %3 differ")
                      .arg(m_calls)
                      .arg(m_check.compared())
                      .arg(m_check.different()));
        return m_check.different() == 0;
    }

private:
    // No difference, but why the recording ends here.
    void printUnfinished(const Played &played) const
    {
        const QString calls = describeUnfinished(played.line.about);
        QJsonObject object = ::toJson(played.place);
        object[QStringLiteral("unfinished")] = calls;
        if (m_json)
            printLine(object);
        else
            printLine(played.heading() + QStringLiteral("did not return: ") + calls);
    }

    const bool m_json;
    Check m_check;
    qint64 m_calls = 0;
};

class LintView : public View
{
public:
    explicit LintView(bool json)
        : m_json(json)
    {}

    void beginFeed() override { m_overlaps.beginFeed(); }

    void follow(const Played &played) override
    {
        const QVector<Finding> findings = m_lint.follow(played);
        for (const Finding &finding : findings) {
            if (m_json)
                printLine(::toJson(finding));
            else
                printLine(toText(finding));
        }
        followThreads(played);
    }

    bool finish() override
    {
        const qint64 count = m_lint.count() + m_forbidden;
        if (m_json) {
            printLine({{QStringLiteral("lint"), QJsonObject{{QStringLiteral("findings"), count}}}});
        } else {
            const QStringList lines = describeRepeated(m_lint);
            for (const QString &line : lines)
                printLine(line);
            printLine(counted(count, QStringLiteral("finding"), QStringLiteral("findings")));
        }
        return count == 0;
    }

private:
    // Which calls overlapped and must not, if the feed has threads at all.
    void followThreads(const Played &played)
    {
        m_hasThreads = m_hasThreads || !played.line.thread.isEmpty();
        if (!m_hasThreads)
            return;
        const QStringList forbidden = m_overlaps.next(played.line, played.place.line);
        for (const QString &text : forbidden) {
            ++m_forbidden;
            if (m_json)
                printLine(toJson(played, QStringLiteral("forbiddenOverlap"), text));
            else
                printLine(played.heading() + QStringLiteral("threads: ") + text);
        }
    }

    const bool m_json;
    Lint m_lint;
    Overlaps m_overlaps;
    bool m_hasThreads = false;
    qint64 m_forbidden = 0;
};

class HistoryView : public View
{
public:
    HistoryView(bool json, const QString &what)
        : m_json(json)
        , m_what(what)
        , m_history(what)
    {}

    void follow(const Played &played) override
    {
        const QVector<History::Entry> entries = m_history.follow(played);
        for (const History::Entry &entry : entries) {
            if (m_json)
                printLine(::toJson(entry));
            else
                printLine(toText(entry));
        }
        m_isKnown = m_isKnown || !entries.isEmpty();
    }

    bool finish() override
    {
        if (!m_isKnown)
            report(QStringLiteral("vmdatabase-replay: --history %1: no call has changed anything of it").arg(m_what));
        return m_isKnown;
    }

private:
    const bool m_json;
    const QString m_what;
    History m_history;
    bool m_isKnown = false;
};

class ExplainView : public View
{
public:
    ExplainView(const Options &options, const FeedPlayer &player)
        : m_json(options.json)
        , m_explanation(options.explain)
        , m_player(player)
    {}

    void follow(const Played &played) override { m_explanation.follow(played); }

    bool finish() override
    {
        const auto storedNow = [this](int number) -> const StoreCopy & { return m_player.stored(number); };
        const bool isKnown = !m_explanation.databases().isEmpty();
        if (!isKnown)
            report(QStringLiteral("vmdatabase-replay: --explain %1: no call has mentioned this pool")
                       .arg(m_explanation.pool()));
        else if (m_json)
            printLine({{QStringLiteral("explain"), ::toJson(m_explanation, storedNow)}});
        else
            print(toText(m_explanation, storedNow));
        return isKnown;
    }

private:
    const bool m_json;
    Explanation m_explanation;
    const FeedPlayer &m_player;
};

// What is stored in the end: the tree, or everything.
class StoredView : public View
{
public:
    StoredView(const Options &options, const FeedPlayer &player)
        : m_json(options.json)
        , m_dump(options.dump)
        , m_pool(options.dumpPool)
        , m_player(player)
    {}

    void follow(const Played &) override {}

    bool finish() override
    {
        const QList<int> databases = m_player.databases();
        bool isKnown = m_pool.isNull();
        for (const int number : databases) {
            const StoreCopy &stored = m_player.stored(number);
            isKnown = isKnown || stored.pools.contains(m_pool);
            if (m_json)
                printLine({{QStringLiteral("database"), number},
                           {m_dump ? QStringLiteral("dump") : QStringLiteral("tree"),
                            m_dump ? readDump(stored, m_pool) : readTree(stored)}});
        }
        if (!isKnown)
            report(QStringLiteral("vmdatabase-replay: --dump=%1: no such pool is stored").arg(m_pool));
        else if (!m_json)
            print(drawEach(m_player, [this](const StoreCopy &stored) {
                return m_dump ? drawDump(stored, m_pool) : drawTree(stored);
            }));
        return isKnown;
    }

private:
    const bool m_json;
    const bool m_dump;
    const QString m_pool;
    const FeedPlayer &m_player;
};

} // namespace

std::vector<std::unique_ptr<View>> makeViews(const Options &options, const FeedPlayer &player)
{
    std::vector<std::unique_ptr<View>> views;
    if (!options.quiet)
        views.push_back(std::make_unique<AnswersView>(options.json));
    if (options.diff)
        views.push_back(std::make_unique<DiffView>(options.json));
    if (!options.history.isNull())
        views.push_back(std::make_unique<HistoryView>(options.json, options.history));
    if (options.check)
        views.push_back(std::make_unique<CheckView>(options.json));
    if (options.lint)
        views.push_back(std::make_unique<LintView>(options.json));
    if (!options.explain.isNull())
        views.push_back(std::make_unique<ExplainView>(options, player));
    if (options.tree || options.dump)
        views.push_back(std::make_unique<StoredView>(options, player));
    return views;
}

bool needChanges(const Options &options)
{
    return options.diff || !options.history.isNull() || options.lint || !options.explain.isNull() || options.tree ||
           options.dump;
}
