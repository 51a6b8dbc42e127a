// What every test program needs.
#pragma once

#include <QtTest>

#include "platform/platform.h"

// The launcher's text conventions, as its entry point sets them, whatever the locale of the machine is.
Q_COREAPP_STARTUP_FUNCTION(FixTextConventions)

// Some things exist on one kind of system only, such as pipes.
inline const bool IsWindows = QSysInfo::kernelType() == "winnt";
inline const char* const TemporaryFolderVariable = IsWindows ? "TMP" : "TMPDIR"; // of the environment
