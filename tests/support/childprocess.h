// A real process to look at: a program that waits, running under any name.
#pragma once

#include <string>

#include <QProcess>

#include "platform/platform.h"

// Copies the program to `path`, a native one, whose folder exists. False on failure.
bool CopyChildProgram(const std::string& path);

// A copy of the program at `path`, running from construction on; killed with the object.
class ChildProcess
{
public:
    explicit ChildProcess(const std::string& path)
    {
        CopyChildProgram(path);
        process.start(QString::fromStdString(path), QStringList());
        // On Windows a process has no modules, and so no name, until its libraries are loaded.
        process.waitForReadyRead();
    }
    ~ChildProcess()
    {
        process.kill();
        process.waitForFinished();
    }
    bool IsRunning() const
    {
        return process.state() == QProcess::Running;
    }
    DWORD Id() const
    {
        return static_cast<DWORD>(process.processId());
    }
    // False if it still runs after some seconds.
    bool WaitForEnd()
    {
        return process.waitForFinished(5000);
    }

private:
    QProcess process;
};
