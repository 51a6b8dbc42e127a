// A real process to look at: a program that waits, running under any name.
#pragma once

#include <string>

#include <QFile>
#include <QProcess>

// The environment variable that names a file for the program's report. With it, the program ends at once.
constexpr char ReportVariable[] = "TEST_CHILD_REPORT";

// A copy of the program at `path`, a native one, running from construction on; killed with the object.
struct ChildProcess : QProcess
{
    explicit ChildProcess(const std::string& path)
    {
        QFile::copy(QString::fromUtf8(TEST_CHILD), path.c_str());
        start(path.c_str(), QStringList());
        // On Windows a process has no modules, and so no name, until its libraries are loaded.
        waitForReadyRead();
    }
    ~ChildProcess() override
    {
        kill();
        waitForFinished();
    }
};
