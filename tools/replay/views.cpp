// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "views.h"

#include "output.h"
#include "threads/overlaps.h"

namespace {

class AnswersView : public View
{
public:
    using View::View;

    void follow(const Played &played) override
    {
        if (played.line.kind == FeedLine::Case)
            sink().beginCase(played);
        for (const QString &name : played.outcome.emitted)
            sink().putSignal(played, name);
        if (!played.outcome.answer.isUndefined())
            sink().putAnswer(played);
    }
};

class DiffView : public View
{
public:
    using View::View;

    void follow(const Played &played) override
    {
        if (!played.outcome.changes.isEmpty())
            sink().putChanges(played);
    }
};

class CheckView : public View
{
public:
    using View::View;

    void beginFeed() override { m_check.beginFeed(); }

    void follow(const Played &played) override
    {
        if (!played.outcome.error.isEmpty())
            return; // reported already
        m_calls += int(played.line.kind == FeedLine::Call);
        if (played.line.kind == FeedLine::Unfinished) // no difference, but why the recording ends here
            sink().putUnfinished(played);
        const QVector<Difference> differences = m_check.compare(played.line, played.outcome);
        for (const Difference &difference : differences)
            sink().put(played, difference);
    }

    bool finish() override
    {
        sink().putChecked(m_calls, m_check);
        return m_check.different() == 0;
    }

private:
    Check m_check;
    qint64 m_calls = 0;
};

class LintView : public View
{
public:
    using View::View;

    void beginFeed() override { m_overlaps.beginFeed(); }

    void follow(const Played &played) override
    {
        const QVector<Finding> findings = m_lint.follow(played);
        for (const Finding &finding : findings)
            sink().put(finding);
        // Which calls overlapped and must not, if the feed has threads at all.
        m_hasThreads = m_hasThreads || !played.line.thread.isEmpty();
        const QStringList forbidden = m_hasThreads ? m_overlaps.next(played.line, played.place.line) : QStringList();
        for (const QString &text : forbidden)
            sink().putOverlap(played, text);
        m_forbidden += forbidden.size();
    }

    bool finish() override
    {
        const qint64 count = m_lint.count() + m_forbidden;
        sink().putLinted(count, m_lint);
        return count == 0;
    }

private:
    Lint m_lint;
    Overlaps m_overlaps;
    bool m_hasThreads = false;
    qint64 m_forbidden = 0;
};

class HistoryView : public View
{
public:
    HistoryView(const ViewContext &context, const QString &what)
        : View(context, what)
        , m_history(what)
    {}

    void follow(const Played &played) override
    {
        const QVector<History::Entry> entries = m_history.follow(played);
        for (const History::Entry &entry : entries)
            sink().put(entry);
        m_isKnown = m_isKnown || !entries.isEmpty();
    }

    bool finish() override
    {
        if (!m_isKnown)
            report(
                QStringLiteral("vmdatabase-replay: --history %1: no call has changed anything of it").arg(argument()));
        return m_isKnown;
    }

private:
    History m_history;
    bool m_isKnown = false;
};

class ExplainView : public View
{
public:
    ExplainView(const ViewContext &context, const QString &pool)
        : View(context, pool)
        , m_explanation(pool)
    {}

    void follow(const Played &played) override { m_explanation.follow(played); }

    bool finish() override
    {
        const bool isKnown = !m_explanation.databases().isEmpty();
        if (isKnown)
            sink().put(m_explanation, player());
        else
            report(QStringLiteral("vmdatabase-replay: --explain %1: no call has mentioned this pool").arg(argument()));
        return isKnown;
    }

private:
    Explanation m_explanation;
};

class DumpView : public View
{
public:
    using View::View;

    void follow(const Played &) override {}

    bool finish() override
    {
        const QString pool = argument();
        const QList<int> databases = player().databases();
        const bool isKnown = pool.isNull() || std::any_of(databases.cbegin(), databases.cend(), [&](int number) {
                                 return player().stored(number).pools.contains(pool);
                             });
        if (isKnown)
            sink().putDumps(player(), pool);
        else
            report(QStringLiteral("vmdatabase-replay: --dump=%1: no such pool is stored").arg(pool));
        return isKnown;
    }
};

// What is stored in the end.
class TreeView : public View
{
public:
    using View::View;

    void follow(const Played &) override {}

    bool finish() override
    {
        sink().putTrees(player());
        return true;
    }
};

template <typename Type>
std::unique_ptr<View> make(const ViewContext &context, const QString &argument)
{
    return std::make_unique<Type>(context, argument);
}

} // namespace

const QVector<ViewKind> &viewKinds()
{
    static const QVector<ViewKind> kinds{
        {nullptr, nullptr, nullptr, false, make<AnswersView>},
        {"diff", nullptr, "Print each call that changed something, and what.", true, make<DiffView>},
        {"history", "WHAT",
         "Print every change of a pool, an item or one value, of POOL[/ITEM][:KEY] or 'app ID[:KEY]'.", true,
         make<HistoryView>},
        {"check", nullptr, "Compare answers, log lines and signals with the recorded ones, and print what differs.",
         false, make<CheckView>},
        {"lint", nullptr, "Print what is allowed but suspicious.", true, make<LintView>},
        {"explain", "POOL", "Print why a pool is shown or hidden in the end.", true, make<ExplainView>},
        {"dump", nullptr, "Print everything that is stored in the end; with --dump=POOL one pool.", true,
         make<DumpView>},
        {"tree", nullptr, nullptr, true, make<TreeView>},
    };
    return kinds;
}
