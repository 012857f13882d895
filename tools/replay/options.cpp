// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "options.h"

#include "operations/operations.h"
#include "screen.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>

// The operations with their parameters, in lines of a terminal's width.
static QString listOperations()
{
    QString list = QStringLiteral("\nOperations:\n");
    QString line;
    for (const Operation &operation : allOperations()) {
        const QString text = QStringLiteral("%1(%2)").arg(operation.name, operation.parameters.join(QLatin1Char(' ')));
        if (line.size() + text.size() > 76) {
            list += line + QLatin1Char('\n');
            line.clear();
        }
        line += QStringLiteral("  ") + text;
    }
    return list + line + QLatin1Char('\n');
}

// Whoever asks for something in particular gets that, and neither answers nor tree.
static bool asksForView(const Options &options)
{
    return options.check || options.diff || options.dump || options.lint || !options.explain.isNull() ||
           !options.history.isNull();
}

// "--dump" may have a value, which the parser cannot have.
static QStringList withoutDumpPool(QStringList arguments, QString &pool)
{
    for (QString &argument : arguments) {
        if (argument == QLatin1String("--"))
            break;
        if (!argument.startsWith(QLatin1String("--dump=")))
            continue;
        pool = argument.mid(argument.indexOf(QLatin1Char('=')) + 1);
        argument = QStringLiteral("--dump");
    }
    return arguments;
}

Options readOptions(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Plays feeds through the VM database and prints what it answers and what a user would be shown,\n"
        "or what --check, --diff, --dump, --explain, --history or --lint ask for.\n"
        "A feed has one call a line: [\"operation\", argument, ...], or an object with what came of it."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    const QCommandLineOption check(
        QStringLiteral("check"),
        QStringLiteral("Compare answers, log lines and signals with the recorded ones, and print what differs."));
    const QCommandLineOption diff(QStringLiteral("diff"),
                                  QStringLiteral("Print each call that changed something, and what."));
    const QCommandLineOption dump(
        QStringLiteral("dump"),
        QStringLiteral("Print everything that is stored in the end; with --dump=POOL one pool."));
    const QCommandLineOption explain(QStringLiteral("explain"),
                                     QStringLiteral("Print why a pool is shown or hidden in the end."),
                                     QStringLiteral("POOL"));
    const QCommandLineOption follow(
        QStringLiteral("follow"),
        QStringLiteral("Play a recording while it grows, and show what is stored then. Only on a terminal."));
    const QCommandLineOption history(
        QStringLiteral("history"),
        QStringLiteral("Print every change of a pool, an item or one value, of POOL[/ITEM][:KEY] or 'app ID[:KEY]'."),
        QStringLiteral("WHAT"));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Print JSON, one object a line, for scripts."));
    const QCommandLineOption lint(QStringLiteral("lint"), QStringLiteral("Print what is allowed but suspicious."));
    const QCommandLineOption log(
        QStringLiteral("log"),
        QStringLiteral("Write all of the library's log lines to standard error, not only the critical ones."));
    const QCommandLineOption noTree(QStringLiteral("no-tree"),
                                    QStringLiteral("Leave out the tree of what is stored in the end."));
    const QCommandLineOption quiet(
        QStringLiteral("quiet"),
        QStringLiteral("Leave out answers and signals. Bad lines and critical log lines are still reported."));
    const QCommandLineOption stats(
        QStringLiteral("stats"),
        QStringLiteral("Print how many calls there were, the time that they and all else took, and the peak memory."));
    const QCommandLineOption strict(QStringLiteral("strict"),
                                    QStringLiteral("Stop at the first line that is not a good call."));
    const QCommandLineOption until(
        QStringLiteral("until"), QStringLiteral("Stop after this line of the last FILE and print what is stored then."),
        QStringLiteral("LINE"));
    parser.addOptions(
        {check, diff, dump, explain, follow, history, json, lint, log, noTree, quiet, stats, strict, until});
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The feeds to play, - for standard input."),
                                 QStringLiteral("FILE..."));

    Options options;
    if (!parser.parse(withoutDumpPool(arguments, options.dumpPool))) {
        options.error = parser.errorText();
        return options;
    }
    if (parser.isSet(help) || parser.isSet(QStringLiteral("help-all"))) {
        options.text = parser.helpText() + listOperations();
        return options;
    }
    if (parser.isSet(version)) {
        options.text = QCoreApplication::applicationName() + QLatin1Char(' ') + QCoreApplication::applicationVersion() +
                       QLatin1Char('\n');
        return options;
    }
    options.files = parser.positionalArguments();
    options.check = parser.isSet(check);
    options.diff = parser.isSet(diff);
    options.dump = parser.isSet(dump);
    options.follow = parser.isSet(follow);
    options.explain = parser.value(explain);
    options.history = parser.value(history);
    options.json = parser.isSet(json);
    options.lint = parser.isSet(lint);
    options.log = parser.isSet(log);
    options.quiet = parser.isSet(quiet) || options.follow || asksForView(options);
    options.stats = parser.isSet(stats);
    options.strict = parser.isSet(strict);
    options.tree = !parser.isSet(noTree) && !asksForView(options);
    options.until = parser.value(until).toLongLong();
    if (parser.isSet(until) && options.until < 1)
        options.error = QStringLiteral("--until %1: expected a line number from 1").arg(parser.value(until));
    else if (options.follow && (options.files.size() != 1 || options.files.contains(QStringLiteral("-"))))
        options.error = QStringLiteral("--follow: expected one FILE, which is not standard input");
    else if (options.follow && !Screen::isAvailable())
        options.error = QStringLiteral("--follow: standard output is not a terminal");
    else if (options.files.isEmpty())
        options.error = QStringLiteral("no FILE to play, - for standard input");
    return options;
}
