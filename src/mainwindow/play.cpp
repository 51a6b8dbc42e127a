// The Play button.
#include <QCoreApplication>

#include "gametree/layout.h"
#include "helpers/files.h"
#include "helpers/text.h"
#include "mainwindow/mainwindow.h"
#include "platform/platform.h"

void MainWindow::on_Play_clicked()
{
    // From the launcher's folder up to "Game", and down to the game's folder. The game expects to be started
    // there.
    std::string folder = CurrentDirectory();
    for (int i = 0; i < DepthBelowTopFolder; ++i) {
        const int separator = FindLast(folder, "\\");
        if (separator >= 0)
            EraseFrom(folder, separator);
    }
    folder += std::string("\\") + GameFolderBelowTop + "\\";

    // The results are left unread: the launcher ends in any case.
    SetCurrentDirectoryA(folder.c_str());
    ShellExecuteA(nullptr, "open", GameFileName, "", nullptr, SW_SHOWDEFAULT);
    QCoreApplication::quit();
}
