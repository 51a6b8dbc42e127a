// The real window in a temporary game tree, against a scripted server.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <QString>

#include "mainwindow/cyclestate.h"
#include "mainwindow/mainwindow.h"
#include "support/scriptedserver.h"
#include "support/temporarytree.h"

// One at a time. Sets the process-wide state back to that of a fresh process, makes the launcher's folder
// with a stand-in for its executable ("launcher"), and the temporary folder, and moves there; at the end goes
// back. The window does not look at other processes of this machine unless a test sets `gameProcessRunning`.
class WindowUnderTest
{
public:
    WindowUnderTest();
    ~WindowUnderTest();

    // Closes the window and makes everything as the next start of the launcher finds it; the tree stays.
    void StartAnew();

    // Builds the window. The cycle starts with the event loop.
    MainWindow& Open();
    // Tears down as the application does at its end.
    void Close();
    // Builds the window and runs the cycle until it has come to an end, or 20 seconds have passed.
    bool RunToTheEnd();
    bool CycleEnded() const;

    // What the tree holds besides the launcher's own folder and its temporary folder.
    Tree GameTree() const;

    // All log lines, oldest first, without their stamps: those on display and those still queued.
    std::vector<std::string> LogLines() const;
    QString Status() const;
    QString Percentage() const;

    // Serves the files of `tree`, and a list of them with `F` and `D` records.
    void Publish(const Tree& tree);
    static std::string ListOf(const Tree& tree);

    static constexpr const char* Folder = "Game/TessaloomLauncher/Release";

    TemporaryTree tree;
    ScriptedServer server;
    MainWindow* window = nullptr;

private:
    QString startDirectory;
};
