// A real process to look at: a program that waits, running under any name.
#pragma once

#include <string>

#include <QFile>
#include <QProcess>

#include "platform/platform.h"

// Set in the environment of the program, it names the file into which it reports where it runs and with how
// many arguments, before it ends at once.
constexpr char ReportVariable[] = "TEST_CHILD_REPORT";

// Copies the program to `path`, a native one, whose folder exists. False on failure.
inline bool CopyChildProgram(const std::string& path)
{
    return QFile::copy(QString::fromUtf8(TEST_CHILD), path.c_str());
}

// A copy of the program at `path`, running from construction on; killed with the object.
struct ChildProcess : QProcess
{
    explicit ChildProcess(const std::string& path)
    {
        CopyChildProgram(path);
        start(path.c_str(), QStringList());
        // On Windows a process has no modules, and so no name, until its libraries are loaded.
        waitForReadyRead();
    }
    ~ChildProcess() override
    {
        kill();
        waitForFinished();
    }
    DWORD Id() const
    {
        return static_cast<DWORD>(processId());
    }
};
