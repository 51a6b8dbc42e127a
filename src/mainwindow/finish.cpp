// The end of a cycle that went well.
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
