// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "callsmodel.h"
#include "desktopsmodel.h"
#include "feeddocument.h"
#include "moment.h"
#include "search.h"
#include "storemodel.h"
#include "why.h"

#include <QtCore/QTimer>
#include <QtGui/QStandardItemModel>
#include <QtWidgets/QMainWindow>

#include <functional>

class QAction;
class QComboBox;
class QLabel;
class QLineEdit;
class QListView;
class QProgressBar;
class QSplitter;
class QTableView;
class QTabWidget;
class QTextBrowser;
class QToolBar;
class QToolButton;
class QTreeView;
class Timeline;

/// The window: a feed, and what a user would see at one moment of it. It lays out and connects; the models know.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

    /// Opens a feed, at a line (or the one before it) once that is loaded, and explains a pool.
    void open(const QString &fileName, bool follows = false, int line = 0, const QString &pool = {});

    void goToLine(int line);
    void selectPool(const QString &uuid);

    FeedDocument &document() { return m_document; }
    Moment &moment() { return m_moment; }

Q_SIGNALS:
    /// All that the file holds is here, and is shown.
    void ready();
    void failed(const QString &message);

protected:
    void closeEvent(QCloseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    QWidget *makeCalls();
    QWidget *makeDetails();
    QWidget *makeDesktops();
    QWidget *makeStore();
    QWidget *makeWhy();
    QWidget *makeTimeline();
    void makeActions();
    void makeToolBar();
    void makeStatusBar();
    void connectDocument();

    QAction *addAction(QMenu *menu, const QString &text, const QKeySequence &keys, std::function<void()> act);
    void addPanel(QMenu *menu, const QString &name, QWidget *view);
    QToolButton *arrowButton(QAction *action, Qt::ArrowType arrow);

    void chooseFile();
    void addRecent(const QString &fileName);
    void showRecent();
    void moveTo(int row);
    void moveBy(int flags, bool forward);
    void askForLine();
    void find(bool forward);
    void setPlaying(bool playing);
    void playOn();
    void showMoment();
    void showDetails();
    void showWhy();
    void showTitles();
    void revealChanges();
    void showFailure(const QString &message);

    FeedDocument m_document;
    Moment m_moment{m_document};
    CallsModel m_calls{m_document};
    ProblemsModel m_problems{m_document};
    DesktopsModel m_desktops;
    StoreModel m_store;
    HistoryModel m_history{m_document};
    QStandardItemModel m_details;
    Search m_search{m_document};
    QTimer m_playing;
    QTimer m_whyDelay;
    QVector<Change> m_shownChanges; // in the rows of the details

    QString m_pool;                  // that is explained
    std::optional<Change> m_subject; // whose history is shown
    int m_wantedLine = 0;            // to go to when it is loaded
    bool m_selecting = false;

    QTableView *m_callsView = nullptr;
    QTableView *m_detailsView = nullptr;
    QTableView *m_problemsView = nullptr;
    QTabWidget *m_detailsTabs = nullptr;
    QListView *m_desktopsView = nullptr;
    QTreeView *m_storeView = nullptr;
    QTextBrowser *m_why = nullptr;
    QTableView *m_historyView = nullptr;
    QTabWidget *m_whyTabs = nullptr;
    Timeline *m_timeline = nullptr;
    QLabel *m_position = nullptr;
    QLabel *m_callsTitle = nullptr;
    QLabel *m_desktopsTitle = nullptr;
    QLabel *m_storeTitle = nullptr;
    QLineEdit *m_searchEdit = nullptr;
    QComboBox *m_speed = nullptr;
    QProgressBar *m_progress = nullptr;
    QToolButton *m_cancel = nullptr;
    QMenu *m_recent = nullptr;
    QAction *m_follow = nullptr;
    QAction *m_play = nullptr;
    QAction *m_reveal = nullptr;
    QList<QAction *> m_moves; // pairs of one back and one forward
    QList<QSplitter *> m_splitters;
};
