// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "options.h"

#include "operations/operations.h"
#include "screen.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>

#include <algorithm>

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

static QCommandLineOption makeOption(const char *name, const char *help, const char *valueName = nullptr)
{
    return {QLatin1String(name), QLatin1String(help), QLatin1String(valueName)};
}

// Those of views, and all else.
static QList<QCommandLineOption> allOptions()
{
    QList<QCommandLineOption> options{
        makeOption("follow", "Play a recording while it grows, and show what is stored then. Only on a terminal."),
        makeOption("json", "Print JSON, one object a line, for scripts."),
        makeOption("log", "Write all of the library's log lines to standard error, not only the critical ones."),
        makeOption("no-tree", "Leave out the tree of what is stored in the end."),
        makeOption("quiet", "Leave out answers and signals. Bad lines and critical log lines are still reported."),
        makeOption("stats",
                   "Print how many calls there were, the time that they and all else took, and the peak memory."),
        makeOption("strict", "Stop at the first line that is not a good call."),
        makeOption("until", "Stop after this line of the last FILE and print what is stored then.", "LINE"),
    };
    for (const ViewKind &kind : viewKinds()) {
        if (kind.help)
            options << makeOption(kind.option, kind.help, kind.valueName);
    }
    std::sort(options.begin(), options.end(),
              [](const auto &a, const auto &b) { return a.names().constFirst() < b.names().constFirst(); });
    return options;
}

// Whoever asks for something in particular gets that, and neither answers nor tree.
static void chooseViews(Options &options, const QCommandLineParser &parser, const QString &dumpPool)
{
    for (const ViewKind &kind : viewKinds()) {
        const QString name = QLatin1String(kind.option);
        if (kind.help && parser.isSet(name))
            options.views << qMakePair(&kind, kind.valueName ? parser.value(name) : dumpPool);
    }
    const bool asks = !options.views.isEmpty();
    options.quiet = parser.isSet(QStringLiteral("quiet")) || options.follow || asks;
    options.check = parser.isSet(QStringLiteral("check"));
    if (!options.quiet)
        options.views.prepend(qMakePair(&viewKinds().constFirst(), QString()));
    if (!asks && !parser.isSet(QStringLiteral("no-tree")))
        options.views << qMakePair(&viewKinds().constLast(), QString());
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
    parser.addOptions(allOptions());
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The feeds to play, - for standard input."),
                                 QStringLiteral("FILE..."));

    Options options;
    QString dumpPool;
    if (!parser.parse(withoutDumpPool(arguments, dumpPool))) {
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
    options.follow = parser.isSet(QStringLiteral("follow"));
    options.json = parser.isSet(QStringLiteral("json"));
    options.log = parser.isSet(QStringLiteral("log"));
    options.stats = parser.isSet(QStringLiteral("stats"));
    options.strict = parser.isSet(QStringLiteral("strict"));
    const QString until = parser.value(QStringLiteral("until"));
    options.until = until.toLongLong();
    chooseViews(options, parser, dumpPool);
    if (parser.isSet(QStringLiteral("until")) && options.until < 1)
        options.error = QStringLiteral("--until %1: expected a line number from 1").arg(until);
    else if (options.follow && (options.files.size() != 1 || options.files.contains(QStringLiteral("-"))))
        options.error = QStringLiteral("--follow: expected one FILE, which is not standard input");
    else if (options.follow && !Screen::isAvailable())
        options.error = QStringLiteral("--follow: standard output is not a terminal");
    else if (options.files.isEmpty())
        options.error = QStringLiteral("no FILE to play, - for standard input");
    return options;
}
