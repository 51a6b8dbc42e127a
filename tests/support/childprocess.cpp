#include "support/childprocess.h"

#include <QFile>

bool CopyChildProgram(const std::string& path)
{
    return QFile::copy(QString::fromUtf8(TEST_CHILD), QString::fromStdString(path));
}

ChildProcess::ChildProcess(const std::string& path)
{
    if (!CopyChildProgram(path))
        return;
    process.start(QString::fromStdString(path), QStringList());
    // On Windows a process has no modules, and so no name, until its libraries are loaded.
    process.waitForReadyRead();
}

ChildProcess::~ChildProcess()
{
    process.kill();
    process.waitForFinished();
}
