// What every test program needs.
#pragma once

#include <QProcess>
#include <QTest>

#include "platform/platform.h"

// The launcher's text conventions, as its entry point sets them, whatever the locale of the machine is.
Q_COREAPP_STARTUP_FUNCTION(FixTextConventions)

// Some things exist on one kind of system only, such as pipes.
inline const bool IsWindows = QSysInfo::kernelType() == "winnt";

// True if the test function passes in a process of its own, which finds this variable in its environment.
// `command` begins with this program or a copy of it, or with one that starts it.
constexpr char Elsewhere[] = "TEST_RUNS_ELSEWHERE";
inline bool PassesElsewhere(QStringList command, const char* function)
{
    qputenv(Elsewhere, "1");
    const bool passed = QProcess::execute(command.takeFirst(), command << function) == 0;
    qunsetenv(Elsewhere);
    return passed;
}
