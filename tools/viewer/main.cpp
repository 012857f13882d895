// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "mainwindow.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTextStream>
#include <QtGui/QIcon>
#include <QtWidgets/QApplication>
#include <QtWidgets/QStyleFactory>

#include <cstdio>

// As a desktop with a dark theme would have it.
static QPalette darkPalette()
{
    QPalette palette(QColor(0x33363b));
    palette.setColor(QPalette::Base, QColor(0x1f2226));
    palette.setColor(QPalette::AlternateBase, QColor(0x262a2f));
    palette.setColor(QPalette::Window, QColor(0x2a2d32));
    palette.setColor(QPalette::Button, QColor(0x33363b));
    for (const QPalette::ColorRole role :
         {QPalette::Text, QPalette::WindowText, QPalette::ButtonText, QPalette::ToolTipText})
        palette.setColor(role, QColor(0xe3e5e8));
    palette.setColor(QPalette::PlaceholderText, QColor(0x9aa0a8));
    palette.setColor(QPalette::ToolTipBase, QColor(0x33363b));
    palette.setColor(QPalette::Highlight, QColor(0x3d6ea8));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x7ab3ef));
    return palette;
}

static int usageError(const QString &message)
{
    QTextStream(stderr) << "vmdatabase-viewer: " << message << "\nTry 'vmdatabase-viewer --help'.\n";
    return 2;
}

// "1560x960", as far as a picture can be; empty if it is something else.
static QSize readSize(const QString &text)
{
    constexpr int longest = 16384;
    const QStringList sides = text.split(QLatin1Char('x'));
    const QSize size(sides.value(0).toInt(), sides.value(1).toInt());
    return sides.size() == 2 && size.boundedTo({longest, longest}) == size ? size : QSize();
}

int main(int argc, char *argv[])
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("vmdatabase"));
    QCoreApplication::setApplicationName(QStringLiteral("vmdatabase-viewer"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VMDATABASE_VERSION));
    if (QGuiApplication::platformName() == QLatin1String("offscreen")) {
        QFont font = QApplication::font();
        font.setPointSize(10); // as desktops have it; without a screen it is larger
        QApplication::setFont(font);
    }
    QApplication::setWindowIcon(
        QIcon::fromTheme(QStringLiteral("vmdatabase-viewer"), QIcon(QStringLiteral(":/vmdatabase-viewer.svg"))));
    QGuiApplication::setDesktopFileName(QStringLiteral("vmdatabase-viewer"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QCoreApplication::translate(
        "main",
        "Shows a feed as a user would see it, call by call: the desktops, why they are shown or hidden, and what "
        "is stored."));
    parser.addHelpOption();
    parser.addVersionOption();
    const auto tr = [](const char *text) { return QCoreApplication::translate("main", text); };
    const QCommandLineOption at(QStringLiteral("at"), tr("Go to this line."), QStringLiteral("line"));
    const QCommandLineOption pool(QStringLiteral("pool"), tr("Explain this pool."), QStringLiteral("uuid"));
    const QCommandLineOption follow(QStringLiteral("follow"), tr("Play what is added to the file while it grows."));
    const QCommandLineOption screenshot(QStringLiteral("screenshot"), tr("Draw the window into a picture and exit."),
                                        QStringLiteral("file.png"));
    const QCommandLineOption size(QStringLiteral("size"), tr("The size of the window, 1560x960 for example."),
                                  QStringLiteral("size"));
    QCommandLineOption dark(QStringLiteral("dark"));
    dark.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOptions({at, pool, follow, screenshot, size, dark});
    parser.addPositionalArgument(QStringLiteral("file"), tr("The feed."), QStringLiteral("[FILE]"));
    if (!parser.parse(QCoreApplication::arguments())) // process() would exit with 1
        return usageError(parser.errorText());
    parser.process(app);

    bool good = true;
    const int line = parser.isSet(at) ? parser.value(at).toInt(&good) : 0;
    if (!good || (parser.isSet(at) && line < 1))
        return usageError(tr("--at takes a line from 1"));
    const QStringList files = parser.positionalArguments();
    if (files.size() > 1)
        return usageError(tr("one feed at a time"));
    if (files.isEmpty() && (parser.isSet(screenshot) || parser.isSet(at) || parser.isSet(pool) || parser.isSet(follow)))
        return usageError(tr("a feed is missing"));
    if (parser.isSet(follow) && parser.isSet(screenshot))
        return usageError(tr("--follow does not end, so --screenshot cannot be taken then"));
    const QSize windowSize = readSize(parser.value(size));
    if (parser.isSet(size) && windowSize.isEmpty())
        return usageError(tr("--size takes a size like 1560x960, up to 16384x16384"));
    if (parser.isSet(dark)) {
        QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
        QApplication::setPalette(darkPalette());
    }

    // A picture looks the same for everyone, and leaves no trace in anyone's settings.
    const QTemporaryDir noSettings;
    if (parser.isSet(screenshot))
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, noSettings.path());

    MainWindow window;
    if (!windowSize.isEmpty())
        window.resize(windowSize);
    if (!parser.isSet(screenshot)) {
        window.show();
        if (!files.isEmpty())
            window.open(files.constFirst(), parser.isSet(follow), line, parser.value(pool));
        return QApplication::exec();
    }

    // Layouts and delayed updates need an event loop, also without a screen.
    QObject::connect(&window, &MainWindow::failed, &app, [&](const QString &message) {
        QTextStream(stderr) << "vmdatabase-viewer: " << message << '\n';
        QCoreApplication::exit(1);
    });
    QTimer delay;
    delay.setSingleShot(true);
    delay.setInterval(200); // milliseconds; longer than any delay in the window
    QObject::connect(&window, &MainWindow::ready, &delay, [&] {
        window.selectPool(parser.value(pool));
        delay.start();
    });
    QObject::connect(&delay, &QTimer::timeout, &app, [&] {
        const QString fileName = parser.value(screenshot);
        const bool saved = window.grab().save(fileName);
        if (!saved)
            QTextStream(stderr) << "vmdatabase-viewer: " << tr("%1 cannot be written").arg(fileName) << '\n';
        QCoreApplication::exit(saved ? 0 : 1);
    });
    window.show();
    window.open(files.constFirst(), false, line, parser.value(pool));
    return QApplication::exec();
}
