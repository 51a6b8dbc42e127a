// The Play button.
#include <QCoreApplication>

#include "helpers/files.h"
#include "helpers/text.h"
#include "mainwindow/mainwindow.h"
#include "platform/platform.h"

void MainWindow::on_Play_clicked()
{
    // From the launcher's folder up to "Game", and down to the game's own folder, where it expects to be
    // started.
    std::string folder = CurrentDirectory();
    for (int i = 0; i < 2; ++i) {
        const int separator = FindLast(folder, "\\");
        if (separator >= 0)
            EraseFrom(folder, separator);
    }
    folder += "\\Tessaloom\\Code\\Current\\Release\\";

    // Nothing is looked at: the launcher ends in any case.
    SetCurrentDirectoryA(folder.c_str());
    ShellExecuteA(nullptr, "open", "Tessaloom.exe", "", nullptr, SW_SHOWDEFAULT);
    QCoreApplication::quit();
}
