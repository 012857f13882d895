// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "options.h"

#include "feed/operations.h"

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

// Asks for the tree and the answers, unless something else was asked for.
static void chooseOutput(Options &options)
{
    if (options.check || options.diff) {
        options.quiet = true;
        options.tree = false;
    }
}

Options readOptions(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Plays feeds through the VM database and prints what it answers and what a user would be shown.\n"
        "A feed has one call a line: [\"operation\", argument, ...], or an object with what came of it."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    const QCommandLineOption check(
        QStringLiteral("check"),
        QStringLiteral("Compare answers, log lines and signals with the recorded ones, and print what differs."));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Print JSON, one object a line, for scripts."));
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
    parser.addOptions({check, json, log, noTree, quiet, stats, strict, until});
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The feeds to play, - for standard input."),
                                 QStringLiteral("FILE..."));

    Options options;
    if (!parser.parse(arguments)) {
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
    options.json = parser.isSet(json);
    options.log = parser.isSet(log);
    options.quiet = parser.isSet(quiet);
    options.stats = parser.isSet(stats);
    options.strict = parser.isSet(strict);
    options.tree = !parser.isSet(noTree);
    chooseOutput(options);
    options.until = parser.value(until).toLongLong();
    if (parser.isSet(until) && options.until < 1)
        options.error = QStringLiteral("--until %1: expected a line number from 1").arg(parser.value(until));
    else if (options.files.isEmpty())
        options.error = QStringLiteral("no FILE to play, - for standard input");
    return options;
}
