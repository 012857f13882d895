// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "mainwindow.h"

#include "carddelegate.h"
#include "look.h"
#include "timeline.h"

#include "text/describe.h"

#include <QtCore/QFileInfo>
#include <QtCore/QMimeData>
#include <QtCore/QSettings>
#include <QtGui/QClipboard>
#include <QtGui/QDragEnterEvent>
#include <QtGui/QGuiApplication>
#include <QtGui/QScreen>
#include <QtWidgets/QAction>
#include <QtWidgets/QBoxLayout>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QInputDialog>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListView>
#include <QtWidgets/QMenuBar>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QTabWidget>
#include <QtWidgets/QTableView>
#include <QtWidgets/QTextBrowser>
#include <QtWidgets/QToolBar>
#include <QtWidgets/QToolButton>
#include <QtWidgets/QTreeView>

static constexpr int mostRecent = 10;
static constexpr int mostDetails = 500; // rows; a decision on many pools changes and logs more than anyone reads
static constexpr int mostRevealed = 12;
static constexpr int defaultFlags = Qt::AlignVCenter | Qt::AlignLeft;

static QKeySequence keys(const char *text)
{
    return QKeySequence(QLatin1String(text));
}

// A view under its title, with room for what is to be said about it.
static QWidget *makePanel(const QString &title, QWidget *view, QLabel **summary)
{
    auto *panel = new QWidget;
    auto *name = new QLabel(title);
    QFont font = name->font();
    font.setBold(true);
    name->setFont(font);
    name->setBuddy(view);
    *summary = new QLabel;
    (*summary)->setTextFormat(Qt::PlainText);
    auto *head = new QHBoxLayout;
    head->addWidget(name);
    head->addStretch();
    head->addWidget(*summary);
    head->setContentsMargins(4, 0, 4, 0);
    auto *layout = new QVBoxLayout(panel);
    layout->setContentsMargins(0, 4, 0, 0);
    layout->setSpacing(4);
    layout->addLayout(head);
    layout->addWidget(view);
    view->setAccessibleName(title);
    return panel;
}

// A table of one-line rows, which is quick with a million of them.
static QTableView *makeTable(QAbstractItemModel *model)
{
    auto *view = new QTableView;
    view->setModel(model);
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setSelectionMode(QAbstractItemView::SingleSelection);
    view->setShowGrid(false);
    view->setWordWrap(false);
    view->setTabKeyNavigation(false);
    view->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    view->setTextElideMode(Qt::ElideRight);
    view->verticalHeader()->hide();
    view->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    view->verticalHeader()->setMinimumSectionSize(1);
    view->verticalHeader()->setDefaultSectionSize(view->fontMetrics().height() * 7 / 5);
    view->horizontalHeader()->setHighlightSections(false);
    view->horizontalHeader()->setDefaultAlignment(Qt::Alignment(defaultFlags));
    return view;
}

static void setWidths(QHeaderView *header, const QList<int> &characters)
{
    const int width = header->fontMetrics().averageCharWidth();
    for (int i = 0; i < characters.size(); ++i) {
        if (characters.at(i) > 0)
            header->resizeSection(i, characters.at(i) * width + 12);
        else
            header->setSectionResizeMode(i, QHeaderView::Stretch);
    }
}

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
{
    setWindowTitle(tr("Feed viewer"));
    setAcceptDrops(true);

    const auto split = [this](Qt::Orientation orientation, const QList<QWidget *> &widgets, const QList<int> &sizes) {
        auto *splitter = new QSplitter(orientation);
        for (int i = 0; i < widgets.size(); ++i) {
            splitter->addWidget(widgets.at(i));
            splitter->setStretchFactor(i, sizes.at(i));
            splitter->setCollapsible(i, false);
        }
        splitter->setSizes(sizes);
        splitter->setHandleWidth(8);
        m_splitters << splitter;
        return splitter;
    };
    auto *left = split(Qt::Vertical, {makeCalls(), makeDetails()}, {560, 240});
    auto *middle = split(Qt::Vertical, {makeDesktops(), makeWhy()}, {430, 370});
    auto *columns = split(Qt::Horizontal, {left, middle, makeStore()}, {560, 565, 400});
    auto *central = new QWidget;
    auto *layout = new QVBoxLayout(central);
    layout->setContentsMargins(8, 4, 8, 0);
    layout->addWidget(columns, 1);
    layout->addWidget(makeTimeline());
    setCentralWidget(central);
    makeActions();
    makeToolBar();
    makeStatusBar();
    connectDocument();

    resize(QSize(1560, 960).boundedTo(QGuiApplication::primaryScreen()->availableSize()));
    const QSettings settings;
    restoreGeometry(settings.value(QStringLiteral("geometry")).toByteArray());
    for (int i = 0; i < m_splitters.size(); ++i)
        m_splitters.at(i)->restoreState(settings.value(QStringLiteral("splitter%1").arg(i)).toByteArray());
    showMoment();
    m_callsView->setFocus();
}

MainWindow::~MainWindow()
{
    m_document.stop();
}

QWidget *MainWindow::makeCalls()
{
    m_callsView = makeTable(&m_calls);
    m_callsView->setIconSize(QSize(3, m_callsView->fontMetrics().height()));
    m_callsView->horizontalHeader()->setSectionResizeMode(CallsModel::CallColumn, QHeaderView::Stretch);
    setWidths(m_callsView->horizontalHeader(), {7, 7, 7, 0, 15});
    m_callsView->hideColumn(CallsModel::TimeColumn);
    m_callsView->hideColumn(CallsModel::ThreadColumn);
    connect(m_callsView->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex &index) {
                if (index.isValid())
                    m_moment.moveTo(index.row());
            });
    return makePanel(tr("Calls"), m_callsView, &m_callsTitle);
}

QWidget *MainWindow::makeDetails()
{
    m_details.setColumnCount(2);
    m_detailsView = makeTable(&m_details);
    m_detailsView->setWordWrap(true);
    m_detailsView->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn); // or rows are as high as without it
    m_detailsView->horizontalHeader()->hide();
    setWidths(m_detailsView->horizontalHeader(), {10, 0});
    connect(m_detailsView->horizontalHeader(), &QHeaderView::sectionResized, m_detailsView,
            &QTableView::resizeRowsToContents);
    m_detailsView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_detailsView->setAccessibleName(tr("What the call did"));
    connect(m_detailsView, &QTableView::activated, this, [this](const QModelIndex &index) {
        const QVariant change = index.sibling(index.row(), 0).data(Qt::UserRole);
        if (change.isValid())
            m_storeView->setCurrentIndex(m_store.indexOf(m_shownChanges.at(change.toInt())));
    });
    m_problemsView = makeTable(&m_problems);
    m_problemsView->setAccessibleName(tr("Problems"));
    setWidths(m_problemsView->horizontalHeader(), {8, 0});
    connect(m_problemsView->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex &index) {
                if (index.isValid())
                    moveTo(m_problems.feedRow(index));
            });
    m_detailsTabs = new QTabWidget;
    m_detailsTabs->setDocumentMode(true);
    m_detailsTabs->addTab(m_detailsView, tr("This call"));
    m_detailsTabs->addTab(m_problemsView, tr("Problems"));
    return m_detailsTabs;
}

QWidget *MainWindow::makeDesktops()
{
    m_desktopsView = new QListView;
    m_desktopsView->setModel(&m_desktops);
    m_desktopsView->setItemDelegate(new CardDelegate(m_desktopsView));
    m_desktopsView->setViewMode(QListView::IconMode);
    m_desktopsView->setResizeMode(QListView::Adjust);
    m_desktopsView->setMovement(QListView::Static);
    m_desktopsView->setLayoutMode(QListView::Batched);
    m_desktopsView->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_desktopsView->setSpacing(6);
    m_desktopsView->setBackgroundRole(QPalette::Window);
    m_desktopsView->viewport()->setBackgroundRole(QPalette::Window);
    m_desktopsView->setFrameShape(QFrame::NoFrame);
    connect(m_desktopsView->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex &index) {
                if (index.isValid() && !m_selecting)
                    selectPool(index.data(DesktopsModel::PoolRole).toString());
            });
    return makePanel(tr("Desktops"), m_desktopsView, &m_desktopsTitle);
}

QWidget *MainWindow::makeStore()
{
    m_storeView = new QTreeView;
    m_storeView->setModel(&m_store);
    m_storeView->setUniformRowHeights(true);
    m_storeView->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_storeView->header()->setStretchLastSection(true);
    m_storeView->expandToDepth(0);
    setWidths(m_storeView->header(), {27, 14, 8});
    m_storeView->setIndentation(14);
    m_storeView->header()->setSectionResizeMode(QHeaderView::Interactive);
    connect(&m_store, &QAbstractItemModel::rowsInserted, this, [this](const QModelIndex &parent, int first, int last) {
        for (int row = first; !parent.isValid() && row <= last; ++row)
            m_storeView->expand(m_store.index(row, 0));
    });
    connect(m_storeView->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex &index) {
                m_subject = m_store.subject(index);
                const QVariant pool = index.data(StoreModel::PoolRole);
                if (pool.isValid() && !m_selecting)
                    selectPool(pool.toString());
                m_whyDelay.start();
            });
    return makePanel(tr("Store"), m_storeView, &m_storeTitle);
}

QWidget *MainWindow::makeWhy()
{
    m_why = new QTextBrowser;
    m_why->setOpenLinks(false);
    m_why->setAccessibleName(tr("Why the desktop is shown or hidden"));
    m_why->document()->setDocumentMargin(8);
    connect(m_why, &QTextBrowser::anchorClicked, this, [this](const QUrl &link) { goToLine(link.path().toInt()); });
    m_historyView = makeTable(&m_history);
    m_historyView->setAccessibleName(tr("History of the selected value"));
    setWidths(m_historyView->horizontalHeader(), {7, 18, 22, 8, 8});
    m_historyView->horizontalHeader()->setStretchLastSection(true);
    connect(m_historyView, &QTableView::activated, this,
            [this](const QModelIndex &index) { moveTo(m_history.feedRow(index)); });
    m_whyTabs = new QTabWidget;
    m_whyTabs->setDocumentMode(true);
    m_whyTabs->addTab(m_why, tr("Why"));
    m_whyTabs->addTab(m_historyView, tr("History"));
    m_whyDelay.setSingleShot(true);
    m_whyDelay.setInterval(30); // milliseconds; a key that is held down moves on before
    connect(&m_whyDelay, &QTimer::timeout, this, &MainWindow::showWhy);
    return m_whyTabs;
}

QWidget *MainWindow::makeTimeline()
{
    m_timeline = new Timeline(m_document);
    m_timeline->setAccessibleName(tr("Position in the feed"));
    connect(m_timeline, &Timeline::valueChanged, this, [this](int row) {
        if (m_timeline->isEnabled() && row != m_moment.row() && row < m_document.rowCount())
            moveTo(row);
    });
    m_position = new QLabel;
    m_position->setMinimumWidth(m_position->fontMetrics().averageCharWidth() * 26);
    m_position->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    auto *bar = new QWidget;
    auto *layout = new QHBoxLayout(bar);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(m_timeline, 1);
    layout->addWidget(m_position);
    return bar;
}

QAction *MainWindow::addAction(QMenu *menu, const QString &text, const QKeySequence &keys, std::function<void()> act)
{
    QAction *action = menu->addAction(text);
    if (act)
        connect(action, &QAction::triggered, this, std::move(act));
    action->setShortcut(keys);
    return action;
}

void MainWindow::addPanel(QMenu *menu, const QString &name, QWidget *view)
{
    const QString number = QString::number(menu->actions().size() + 1);
    addAction(menu, name, QKeySequence(QStringLiteral("Alt+") + number), [=] {
        for (QTabWidget *tabs : {m_detailsTabs, m_whyTabs}) {
            if (tabs->indexOf(view) >= 0)
                tabs->setCurrentWidget(view);
        }
        view->setFocus(Qt::ShortcutFocusReason);
    });
}

void MainWindow::makeActions()
{
    QMenu *file = menuBar()->addMenu(tr("&File"));
    addAction(file, tr("&Open..."), QKeySequence::Open, [this] { chooseFile(); });
    m_recent = file->addMenu(tr("Open &Recent"));
    m_recent->setObjectName(QStringLiteral("recent"));
    connect(m_recent, &QMenu::aboutToShow, this, &MainWindow::showRecent);
    addAction(file, tr("Re&load"), QKeySequence::Refresh, [this] {
        if (!m_document.fileName().isEmpty())
            open(m_document.fileName(), m_follow->isChecked(),
                 m_moment.row() < 0 ? 0 : m_document.row(m_moment.row()).line, m_pool);
    });
    m_follow = addAction(file, tr("&Follow"), keys("Ctrl+T"), {});
    m_follow->setCheckable(true);
    m_follow->setStatusTip(tr("Play what a running client adds to the file, and stay at its end"));
    connect(m_follow, &QAction::triggered, this, [this](bool follows) {
        if (!m_document.fileName().isEmpty())
            open(m_document.fileName(), follows, 0, m_pool);
    });
    file->addSeparator();
    addAction(file, tr("&Quit"), QKeySequence::Quit, [this] { close(); });

    QMenu *edit = menuBar()->addMenu(tr("&Edit"));
    addAction(edit, tr("&Copy Line"), keys("Ctrl+Shift+C"), [this] {
        if (m_moment.row() >= 0)
            QGuiApplication::clipboard()->setText(m_document.text(m_moment.row()));
    });
    edit->addSeparator();
    addAction(edit, tr("&Find..."), QKeySequence::Find, [this] {
        m_searchEdit->setFocus(Qt::ShortcutFocusReason);
        m_searchEdit->selectAll();
    });
    addAction(edit, tr("Find &Next"), QKeySequence::FindNext, [this] {
        find(true);
    })->setObjectName(QStringLiteral("findNext"));
    addAction(edit, tr("Find &Previous"), QKeySequence::FindPrevious, [this] { find(false); });

    QMenu *go = menuBar()->addMenu(tr("&Go"));
    const auto addMoves = [&](const QString &back, const QString &forward, const QKeySequence &backKeys,
                              const QKeySequence &forwardKeys, int flags) {
        m_moves << addAction(go, back, backKeys, [=] { moveBy(flags, false); });
        m_moves << addAction(go, forward, forwardKeys, [=] { moveBy(flags, true); });
        go->addSeparator();
    };
    addMoves(tr("Previous &Call"), tr("&Next Call"), keys("Ctrl+Up"), keys("Ctrl+Down"), 0);
    addMoves(tr("Previous Decision"), tr("Next &Decision"), keys("Ctrl+Shift+D"), keys("Ctrl+D"), FeedRow::Decision);
    addMoves(tr("Previous Change of What Is Shown"), tr("Next Change of What Is &Shown"), keys("Ctrl+Shift+E"),
             keys("Ctrl+E"), FeedRow::ChangesShown);
    addMoves(tr("Previous Problem"), tr("Next &Problem"), keys("Shift+F8"), keys("F8"), FeedRow::Problem);
    addAction(go, tr("&First Line"), keys("Ctrl+Home"), [this] { moveTo(0); });
    addAction(go, tr("&Last Line"), keys("Ctrl+End"), [this] { moveTo(m_document.rowCount() - 1); });
    addAction(go, tr("&Go to Line..."), keys("Ctrl+G"), [this] { askForLine(); });
    go->addSeparator();
    m_play = addAction(go, tr("Pl&ay"), keys("Ctrl+Space"), {});
    m_play->setCheckable(true);
    m_play->setObjectName(QStringLiteral("play"));
    connect(m_play, &QAction::toggled, this, &MainWindow::setPlaying);
    addAction(go, tr("Play Faster"), keys("Ctrl++"),
              [this] { m_speed->setCurrentIndex(std::min(m_speed->currentIndex() + 1, m_speed->count() - 1)); });
    addAction(go, tr("Play Slower"), keys("Ctrl+-"),
              [this] { m_speed->setCurrentIndex(std::max(m_speed->currentIndex() - 1, 0)); });

    QMenu *view = menuBar()->addMenu(tr("&View"));
    QAction *hidden = addAction(view, tr("&Hidden Desktops"), keys("Ctrl+H"), {});
    hidden->setCheckable(true);
    hidden->setChecked(true);
    connect(hidden, &QAction::toggled, &m_desktops, &DesktopsModel::setShowsHidden);
    m_reveal = addAction(view, tr("&Reveal Changes in the Store"), keys("Ctrl+R"), {});
    m_reveal->setCheckable(true);
    m_reveal->setChecked(true);
    connect(m_reveal, &QAction::toggled, this, &MainWindow::revealChanges);
    view->addSeparator();
    QMenu *panels = view->addMenu(tr("Go to &Panel"));
    addPanel(panels, tr("&Calls"), m_callsView);
    addPanel(panels, tr("This C&all"), m_detailsView);
    addPanel(panels, tr("&Problems"), m_problemsView);
    addPanel(panels, tr("&Desktops"), m_desktopsView);
    addPanel(panels, tr("&Why"), m_why);
    addPanel(panels, tr("&History"), m_historyView);
    addPanel(panels, tr("&Store"), m_storeView);

    QMenu *help = menuBar()->addMenu(tr("&Help"));
    addAction(help, tr("&About"), {}, [this] {
        QMessageBox::about(this, tr("About the feed viewer"),
                           tr("<p><b>vmdatabase-viewer %1</b></p><p>Plays what a virtual-desktop client did and shows, "
                              "call by call, what its user was shown and why.</p>")
                               .arg(QCoreApplication::applicationVersion()));
    });
}

QToolButton *MainWindow::arrowButton(QAction *action, Qt::ArrowType arrow)
{
    auto *button = new QToolButton;
    button->setArrowType(isRightToLeft() == (arrow == Qt::LeftArrow) ? Qt::RightArrow : Qt::LeftArrow);
    button->setAutoRaise(true);
    QString name = action->text();
    button->setAccessibleName(name.remove(QLatin1Char('&')));
    button->setToolTip(QStringLiteral("%1 (%2)").arg(name, action->shortcut().toString(QKeySequence::NativeText)));
    connect(button, &QToolButton::clicked, action, &QAction::trigger);
    return button;
}

void MainWindow::makeToolBar()
{
    QToolBar *bar = addToolBar(tr("Moving"));
    bar->setObjectName(QStringLiteral("moving"));
    bar->setMovable(false);
    bar->setContextMenuPolicy(Qt::PreventContextMenu);
    const QStringList names{tr("Call"), tr("Decision"), tr("Shown"), tr("Problem")};
    for (int i = 0; i < names.size(); ++i) {
        bar->addWidget(arrowButton(m_moves.at(2 * i), Qt::LeftArrow));
        bar->addWidget(new QLabel(names.at(i)));
        bar->addWidget(arrowButton(m_moves.at(2 * i + 1), Qt::RightArrow));
        bar->addSeparator();
    }
    bar->addAction(m_play);
    m_speed = new QComboBox;
    for (const int speed : {2, 5, 10, 50, 200, 1000})
        m_speed->addItem(tr("%1 calls/s").arg(speed), speed);
    m_speed->setCurrentIndex(1);
    m_speed->setAccessibleName(tr("Speed"));
    m_speed->setToolTip(tr("How fast to play"));
    connect(m_speed, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [this] { setPlaying(m_play->isChecked()); });
    bar->addWidget(m_speed);
    bar->addSeparator();
    bar->addAction(m_follow);
    auto *space = new QWidget;
    space->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    bar->addWidget(space);
    m_searchEdit = new QLineEdit;
    m_searchEdit->setPlaceholderText(tr("Find a uuid, text or operation"));
    m_searchEdit->setAccessibleName(tr("Find"));
    m_searchEdit->setClearButtonEnabled(true);
    m_searchEdit->setMaximumWidth(m_searchEdit->fontMetrics().averageCharWidth() * 40);
    connect(m_searchEdit, &QLineEdit::returnPressed, this,
            [this] { find(!(QGuiApplication::keyboardModifiers() & Qt::ShiftModifier)); });
    bar->addWidget(m_searchEdit);
    connect(&m_search, &Search::found, this, [this](int row) {
        statusBar()->clearMessage();
        moveTo(row);
    });
    connect(&m_search, &Search::notFound, this,
            [this] { statusBar()->showMessage(tr("\"%1\" was not found").arg(m_searchEdit->text())); });
    connect(&m_playing, &QTimer::timeout, this, &MainWindow::playOn);
}

void MainWindow::makeStatusBar()
{
    m_progress = new QProgressBar;
    m_progress->setRange(0, 1000);
    m_progress->setMaximumWidth(200);
    m_progress->setAccessibleName(tr("Loading"));
    m_cancel = new QToolButton;
    m_cancel->setObjectName(QStringLiteral("cancel"));
    m_cancel->setText(tr("Cancel"));
    m_cancel->setShortcut(Qt::Key_Escape);
    m_cancel->setToolTip(tr("Stop loading and keep what is here (Esc)"));
    connect(m_cancel, &QToolButton::clicked, this, [this] {
        m_document.stop();
        statusBar()->showMessage(tr("Stopped: the rest of the feed is not here"));
    });
    statusBar()->addPermanentWidget(m_progress);
    statusBar()->addPermanentWidget(m_cancel);
    m_progress->hide();
    m_cancel->hide();
}

void MainWindow::connectDocument()
{
    connect(&m_moment, &Moment::moved, this, &MainWindow::showMoment);
    connect(&m_document, &FeedDocument::reset, this, [this] {
        m_subject.reset();
        addRecent(m_document.fileName());
        showMoment();
    });
    connect(&m_document, &FeedDocument::appended, this, [this](int first, int count) {
        const int last = first + count - 1;
        const QString lineNumber = QString::number(m_document.row(last).line);
        m_callsView->setColumnWidth(
            CallsModel::LineColumn,
            std::max(m_callsView->columnWidth(CallsModel::LineColumn),
                     m_callsView->fontMetrics().horizontalAdvance(lineNumber) + m_callsView->iconSize().width() + 16));
        m_callsView->setColumnHidden(CallsModel::TimeColumn, !m_document.hasTimes());
        m_callsView->setColumnHidden(CallsModel::ThreadColumn, !m_document.hasThreads());
        if (m_wantedLine > 0 && m_document.row(last).line >= m_wantedLine)
            goToLine(std::exchange(m_wantedLine, 0));
        else if (m_document.isFollowing() && (m_moment.row() < 0 || m_moment.row() == first - 1) && m_wantedLine == 0)
            moveTo(last);
        else if (m_moment.row() < 0 && m_wantedLine == 0)
            moveTo(0);
        showTitles();
    });
    connect(&m_document, &FeedDocument::progressed, this, [this](qint64 position, qint64 size) {
        m_progress->setVisible(m_document.isLoading());
        m_cancel->setVisible(m_document.isLoading());
        m_progress->setValue(size > 0 ? int(position * 1000 / size) : 0);
    });
    connect(&m_document, &FeedDocument::loaded, this, [this] {
        m_progress->hide();
        m_cancel->hide();
        if (m_wantedLine > 0)
            goToLine(std::exchange(m_wantedLine, 0));
        showTitles();
        showWhy();
        Q_EMIT ready();
    });
    connect(&m_document, &FeedDocument::failed, this, &MainWindow::showFailure);
}

void MainWindow::open(const QString &fileName, bool follows, int line, const QString &pool)
{
    setPlaying(false);
    m_wantedLine = line;
    m_pool = pool;
    const QSignalBlocker blocker(m_follow);
    m_follow->setChecked(follows);
    m_document.open(QFileInfo(fileName).absoluteFilePath(), follows);
}

void MainWindow::showFailure(const QString &message)
{
    Q_EMIT failed(message);
    auto *box = new QMessageBox(QMessageBox::Warning, tr("The feed cannot be read"), message, QMessageBox::Close, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

void MainWindow::chooseFile()
{
    const QString fileName = QFileDialog::getOpenFileName(
        this, tr("Open a feed"), QFileInfo(m_document.fileName()).path(), tr("Feeds (*.jsonl);;All files (*)"));
    if (!fileName.isEmpty())
        open(fileName);
}

void MainWindow::addRecent(const QString &fileName)
{
    QSettings settings;
    QStringList recent = settings.value(QStringLiteral("recent")).toStringList();
    recent.removeAll(fileName);
    recent.prepend(fileName);
    settings.setValue(QStringLiteral("recent"), QStringList(recent.mid(0, mostRecent)));
}

void MainWindow::showRecent()
{
    m_recent->clear();
    const QStringList recent = QSettings().value(QStringLiteral("recent")).toStringList();
    for (const QString &fileName : recent)
        m_recent->addAction(QFileInfo(fileName).fileName(), this, [=] { open(fileName); })->setStatusTip(fileName);
    m_recent->addSeparator();
    m_recent->addAction(tr("Forget These"), this, [] { QSettings().remove(QStringLiteral("recent")); })
        ->setEnabled(!recent.isEmpty());
}

void MainWindow::moveTo(int row)
{
    m_moment.moveTo(std::max(row, 0));
}

void MainWindow::moveBy(int flags, bool forward)
{
    const int row =
        flags ? m_document.find(m_moment.row(), flags, forward) : m_document.findCall(m_moment.row(), forward);
    if (row >= 0)
        moveTo(row);
    else
        statusBar()->showMessage(forward ? tr("There is none after this line") : tr("There is none before this line"),
                                 3000);
}

void MainWindow::goToLine(int line)
{
    moveTo(m_document.rowOfLine(line));
}

void MainWindow::askForLine()
{
    const int last = m_document.rowCount() > 0 ? m_document.row(m_document.rowCount() - 1).line : 1;
    bool good = false;
    const int now = m_moment.row() < 0 ? 1 : m_document.row(m_moment.row()).line;
    const int line =
        QInputDialog::getInt(this, tr("Go to line"), tr("Line (1 to %1):").arg(last), now, 1, last, 1, &good);
    if (good)
        goToLine(line);
}

void MainWindow::find(bool forward)
{
    if (m_searchEdit->text().isEmpty()) {
        m_searchEdit->setFocus(Qt::ShortcutFocusReason);
        return;
    }
    statusBar()->showMessage(tr("Searching..."));
    m_search.start(m_searchEdit->text(), m_moment.row(), forward);
}

void MainWindow::setPlaying(bool playing)
{
    const QSignalBlocker blocker(m_play);
    m_play->setChecked(playing);
    const int speed = m_speed ? m_speed->currentData().toInt() : 1;
    constexpr int shortest = 20; // milliseconds
    if (playing)
        m_playing.start(std::max(1000 / speed, shortest));
    else
        m_playing.stop();
}

void MainWindow::playOn()
{
    const int calls = std::max(1, m_speed->currentData().toInt() * m_playing.interval() / 1000);
    int row = m_moment.row();
    for (int i = 0; i < calls; ++i) {
        const int next = m_document.findCall(row, true);
        if (next < 0)
            break;
        row = next;
    }
    if (row == m_moment.row())
        setPlaying(m_document.isFollowing() || m_document.isLoading());
    else
        moveTo(row);
}

void MainWindow::showMoment()
{
    const int row = m_moment.row();
    const QModelIndex index = m_calls.index(row, CallsModel::CallColumn);
    if (m_callsView->currentIndex().row() != row)
        m_callsView->setCurrentIndex(index);
    if (index.isValid())
        m_callsView->scrollTo(index.sibling(row, CallsModel::LineColumn));
    m_timeline->setEnabled(m_document.rowCount() > 0);
    {
        const QSignalBlocker blocker(m_timeline);
        m_timeline->setValue(row);
    }
    m_shownChanges = m_moment.changes();
    m_store.show(m_moment.before(), m_moment.after(), m_shownChanges);
    m_desktops.show(m_moment.after(), m_shownChanges);
    m_selecting = true;
    m_desktopsView->setCurrentIndex(m_desktops.indexOfPool(m_pool));
    m_selecting = false;
    revealChanges();
    showDetails();
    showTitles();
    m_whyDelay.start();
}

// Opens the tree where the call changed something, as long as one can still see it.
void MainWindow::revealChanges()
{
    if (!m_reveal->isChecked() || m_shownChanges.isEmpty())
        return;
    QModelIndex first;
    for (int i = 0; i < std::min(m_shownChanges.size(), mostRevealed); ++i) {
        const QModelIndex index = m_store.indexOf(m_shownChanges.at(i));
        for (QModelIndex above = index.parent(); above.isValid(); above = above.parent())
            m_storeView->expand(above);
        if (!first.isValid())
            first = index;
    }
    m_storeView->scrollTo(first);
}

void MainWindow::showDetails()
{
    m_details.removeRows(0, m_details.rowCount());
    const int row = m_moment.row();
    if (row < 0)
        return;
    const QFont fixed = Look::fixedFont();
    const auto add = [&](const QString &title, const QString &text, const QVariant &color = {}) {
        if (m_details.rowCount() == mostDetails)
            m_details.appendRow({new QStandardItem, new QStandardItem(tr("and more"))});
        if (m_details.rowCount() > mostDetails)
            return;
        auto *name = new QStandardItem(title);
        auto *value = new QStandardItem(Look::code(text));
        name->setForeground(Look::muted(palette()));
        name->setTextAlignment(Qt::AlignTop | Qt::AlignLeft);
        value->setToolTip(text);
        value->setTextAlignment(Qt::AlignTop | Qt::AlignLeft);
        if (color.isValid())
            value->setForeground(color.value<QColor>());
        m_details.appendRow({name, value});
    };
    const FeedRow &line = m_document.row(row);
    add(tr("Call"), CallsModel::describe(m_document, row));
    if (!line.answer.isNull())
        add(tr("Answer"), line.answer);
    const QColor problem = Look::accent(palette(), line.flags & FeedRow::Conflict ? Look::Conflict : Look::Problem);
    const QString report = m_document.report(row);
    const QStringList problems = report.isEmpty() ? QStringList() : report.split(QLatin1Char('\n'));
    for (const QString &text : problems)
        add(line.flags & FeedRow::Problem ? tr("Problem") : tr("Warning"), text,
            line.flags & FeedRow::Problem ? QVariant(problem) : QVariant());
    for (int i = 0; i < m_shownChanges.size(); ++i) {
        add(tr("Changed"), describeChange(m_shownChanges.at(i)), Look::accent(palette(), Look::Changed));
        if (QStandardItem *item = m_details.item(m_details.rowCount() - 1))
            item->setData(i, Qt::UserRole);
    }
    const QStringList log = m_document.log(row);
    for (const QString &text : log) {
        const bool isCritical = text.startsWith(QLatin1String("critical: "));
        add(tr("Log"), text, isCritical ? QVariant(Look::accent(palette(), Look::Problem)) : QVariant());
        if (QStandardItem *item = m_details.item(m_details.rowCount() - 1, 1))
            item->setFont(fixed);
    }
    m_detailsView->resizeRowsToContents();
}

void MainWindow::selectPool(const QString &uuid)
{
    m_pool = uuid;
    m_selecting = true;
    m_desktopsView->setCurrentIndex(m_desktops.indexOfPool(uuid));
    if (m_storeView->currentIndex().data(StoreModel::PoolRole).toString() != uuid)
        m_storeView->setCurrentIndex(m_store.indexOfPool(uuid));
    m_selecting = false;
    m_whyDelay.start();
}

void MainWindow::showWhy()
{
    m_whyDelay.stop();
    const int row = m_moment.row();
    const int database = row >= 0 ? m_document.row(row).database : 1;
    if (m_pool.isEmpty() || row < 0)
        m_why->setHtml(
            QStringLiteral("<p style='color: %1'>%2</p>")
                .arg(Look::muted(palette()).name(), tr("Select a desktop to see why it is shown or hidden.")));
    else
        m_why->setHtml(toHtml(explainPool(m_document, row, m_pool), m_pool, palette()));
    m_history.show(m_subject, database, row);
    m_whyTabs->setTabText(1, m_subject ? tr("History of %1")
                                             .arg(m_storeView->fontMetrics().elidedText(
                                                 m_storeView->currentIndex().siblingAtColumn(0).data().toString(),
                                                 Qt::ElideMiddle, m_whyTabs->width() / 3))
                                       : tr("History"));
}

void MainWindow::showTitles()
{
    const int row = m_moment.row();
    const int count = m_document.rowCount();
    const QString file = QFileInfo(m_document.fileName()).fileName();
    setWindowTitle(file.isEmpty() ? tr("Feed viewer") : tr("%1 - Feed viewer").arg(file));
    setWindowFilePath(m_document.fileName());
    m_callsTitle->setText(file);
    m_desktopsTitle->setText(m_desktops.summary());
    const StoreCopy &store = m_moment.after();
    m_storeTitle->setText(store.isClosed ? tr("closed") : tr("pools: %1").arg(store.pools.size()));
    m_position->setText(
        row < 0 ? QString() : tr("Line %1 of %2").arg(m_document.row(row).line).arg(m_document.row(count - 1).line));
    const int problems = m_problems.rowCount();
    m_detailsTabs->setTabText(1, problems > 0 ? tr("Problems (%1)").arg(problems) : tr("Problems"));
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    QSettings settings;
    settings.setValue(QStringLiteral("geometry"), saveGeometry());
    for (int i = 0; i < m_splitters.size(); ++i)
        settings.setValue(QStringLiteral("splitter%1").arg(i), m_splitters.at(i)->saveState());
    QMainWindow::closeEvent(event);
}

static QString droppedFile(const QMimeData *data)
{
    const QList<QUrl> urls = data->urls();
    return urls.isEmpty() ? QString() : urls.constFirst().toLocalFile();
}

void MainWindow::dragEnterEvent(QDragEnterEvent *event)
{
    if (!droppedFile(event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent *event)
{
    event->acceptProposedAction();
    open(droppedFile(event->mimeData()));
}

void MainWindow::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_why)
        showMoment();
}
