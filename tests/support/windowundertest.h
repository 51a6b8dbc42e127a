// The real window in a temporary game tree, against a scripted server.
#pragma once

#include <string>

#include <QTest>
#include <QtWidgets>
#include <QWebEngineView>

#include "form/mainwindowform.h"
#include "gametree/layout.h"
#include "gametree/strings.h"
#include "mainwindow/cyclestate.h"
#include "mainwindow/mainwindow.h"
#include "startup/launchercontext.h"
#include "support/scriptedserver.h"
#include "support/temporarytree.h"

// The window stands in the launcher's folder with a stand-in for the executable. It does not look at other
// processes of this machine unless a test sets `gameProcessRunning`. One at a time.
class WindowUnderTest
{
public:
    WindowUnderTest()
    {
        updateServerUrl = server.BaseUrl();
        fileListUrl = updateServerUrl + "List.txt";
        patchNotesUrl = "about:blank";
        const std::string temporaryFolder = launcherFolder + "/" + tempFolderStem + "1/";
        WriteTree(tree.Root(),
                  {{launcherFolder + "/TessaloomLauncher.exe", "launcher"}, {temporaryFolder, ""}});
        QDir::setCurrent(tree.Path(temporaryFolder).c_str());
        LauncherContext::Instance().closing = false;
    }
    ~WindowUnderTest()
    {
        Close();
    }

    // Builds the window and waits for its page. The cycle has not begun when it returns.
    MainWindow& OpenStill()
    {
        window = new MainWindow;
        window->updateTimer.stop();
        window->gameProcessRunning = false;
        LauncherContext::Instance().window = window;
        window->show();
        while (!window->ui->WebView->isVisible()) // CTest ends a test that hangs
            QCoreApplication::processEvents();
        return *window;
    }
    // Tears down as the application does at its end.
    void Close()
    {
        LauncherContext::Instance().closing = true;
        delete window;
        window = nullptr;
    }
    // Runs the cycle in this tree to the end of its transfers. False if it takes more than half a minute.
    bool Update(const Tree& installed)
    {
        if (!WriteTree(tree.Root(), installed))
            return false;
        (window ? *window : OpenStill()).updateTimer.start();
        const QDeadlineTimer deadline(30000);
        while (updateState < UpdateState::UpToDate || !window->transfers.empty()) {
            if (deadline.hasExpired())
                return false;
            QCoreApplication::processEvents();
        }
        return true;
    }
    // Lets the window process this list as if it had come.
    bool Process(const std::string& list)
    {
        WriteFile(tree.Path("Game/TessaloomLauncher/List.txt"), list);
        checkedRoot = TreeRoot();
        return window->ProcessFileList();
    }

    // All that the window shows, a line each: status, percentage, button, bar, page, and then the log from
    // its oldest line on, without stamps and with "ROOT" for the tree's root.
    QStringList Shows() const
    {
        const MainWindowForm& ui = *window->ui;
        QStringList lines = {"status: " + ui.StatusText->text(), "percentage: " + ui.PercentageText->text(),
                             ui.Play->text() + (ui.Play->isEnabled() ? ", enabled" : ", disabled"),
                             (ui.ProgressBar->isHidden() ? "no bar, at " : "bar, at ") +
                                 QString::number(ui.ProgressBar->value()),
                             ui.WebView->isHidden() ? "no patch notes" : "patch notes"};
        const int fixed = lines.size(), stampLength = 11;
        window->FlushLog(true);
        for (QString line : window->logModel->stringList())
            lines.insert(fixed, line.remove(0, stampLength).replace(tree.WindowsRoot().c_str(), "ROOT"));
        return lines;
    }
    // What the tree holds besides the launcher's own folder and the folders above it.
    Tree GameTree() const
    {
        Tree game;
        for (const auto& [path, content] : TreeOf(tree.Root())) {
            const bool isAbove = path.back() == '/' && launcherFolder.compare(0, path.size(), path) == 0;
            if (!isAbove && path.compare(0, launcherFolder.size(), launcherFolder) != 0)
                game[path] = content;
        }
        return game;
    }

    // Serves the files of the tree, and a list of it and of the launcher's own folder and file.
    void Publish(Tree published)
    {
        for (const auto& [path, content] : published)
            server.scripts[path].body = content;
        published.insert(
            {{launcherFolder + "/", ""}, {launcherFolder + "/TessaloomLauncher.exe", "launcher"}});
        std::string list;
        for (const auto& [path, content] : published) {
            const std::string listed = QString(path.c_str()).replace('/', '\\').toStdString();
            list += listed.back() == '\\'
                        ? "D#" + listed.substr(0, listed.size() - 1)
                        : "F#" + listed + "#" + std::to_string(content.size()) + "#" + Sha256Of(content);
            list += "\r\n";
        }
        server.scripts["List.txt"].body = list;
    }

    const std::string launcherFolder = "Game/TessaloomLauncher/Release";
    const TemporaryTree tree;
    ScriptedServer server;
    MainWindow* window = nullptr;
};

// What the window shows after a cycle, above its log.
inline const QStringList upToDate = {"status: Game is up to date", "percentage: ", "Play, enabled",
                                     "no bar, at 0", "patch notes"};
inline QStringList Offline(const QString& status)
{
    return {"status: " + status, "percentage: ", "Play Offline, enabled", "no bar, at 0", "patch notes"};
}
inline const QStringList notConnected = Offline("Failed to connect to server");

// Runs the event loop. True if the program ends it, false if nothing does for a long time.
inline bool ProgramQuits()
{
    QTimer guard;
    QObject::connect(&guard, &QTimer::timeout, [] { QCoreApplication::exit(1); });
    guard.start(20000);
    return QCoreApplication::exec() == 0;
}
