// The ends of the cycle: up to date, a restart of the launcher, offline, blocked by a running game.
#include <QCoreApplication>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include "digest/filedigest.h"
#include "gametree/layout.h"
#include "gametree/strings.h"
#include "helpers/files.h"
#include "helpers/text.h"
#include "mainwindow/cyclestate.h"
#include "mainwindow/mainwindow.h"
#include "platform/platform.h"
#include "startup/launchercontext.h"

void MainWindow::FinishCycle()
{
    std::string current = launcherDigest;
    const std::string path = CurrentDirectory() + "\\" + LauncherFileName;
    if (FileExists(path))
        current = FileSha256(path);

    if (!Equals(current, launcherDigest)) {
        Log(std::string("Restarting launcher since the .exe file was updated: ") + LauncherFileName);
        updateState = UpdateState::Restarting;
        // The event loop ends after this tick. The new launcher is started before that.
        QCoreApplication::quit();
        ShellExecuteA(nullptr, "open", LauncherFileName, "", nullptr, SW_SHOWDEFAULT);
        return;
    }

    const LauncherContext& context = LauncherContext::Instance();
    Log("Game is up to date");
    context.StatusText->setText("Game is up to date");
    context.PercentageText->setText("");
    context.Play->setEnabled(true);
    updateState = UpdateState::UpToDate;
    context.ProgressBar->setHidden(true);
    SetProgress(0.0f);
}

void MainWindow::EndOffline(const std::string& status)
{
    const LauncherContext& context = LauncherContext::Instance();
    context.StatusText->setText(status.c_str());
    context.PercentageText->setText("");
    context.ProgressBar->setHidden(true);
    SetProgress(0.0f);
    updateState = UpdateState::Offline;
    OfferPlayOffline();
}

void MainWindow::OfferPlayOffline()
{
    QPushButton& play = *LauncherContext::Instance().Play;
    play.setText("Play Offline");
    play.setEnabled(true);
}

void MainWindow::RefuseToUpdate(const std::string& reason)
{
    Log("Refusing to update: " + reason);
    EndOffline("Refusing to update this folder");
}

void MainWindow::EndBlocked()
{
    // The box has an event loop of its own, from which no second tick may open a second box.
    messageBoxOpen = true;
    MessageBoxA(nullptr,
                "An update was found but at least one Tessaloom process is already running.\n"
                "Close all Tessaloom processes before starting the launcher again.",
                "Error", MB_ICONERROR);
    messageBoxOpen = false;
    QCoreApplication::quit();
}
