// What the program asks the system beside the Windows calls, on Windows itself.
#include "platform/platform.h"

#include <QByteArray>

std::string NativePath(const std::string& path)
{
    return path;
}

// The C library's locale stays "C" here, and the manifest asks for the UTF-8 code page.
void FixTextConventions() {}

// A process has one heap here.
void ShareHeapAmongThreads() {}

std::vector<std::string> SystemFolders()
{
    // By way of Qt: Wine's own call cuts off what holds letters outside ASCII.
    const auto variable = [](const char* name) { return qgetenv(name).toStdString(); };
    std::vector<std::string> folders = {variable("SystemRoot") + "\\Temp",
                                        variable("USERPROFILE") + "\\Saved Games"};
    for (const char* name : {"SystemRoot", "ProgramFiles", "ProgramFiles(x86)", "ProgramW6432", "ProgramData",
                             "CommonProgramFiles", "APPDATA", "LOCALAPPDATA", "PUBLIC", "USERPROFILE",
                             "OneDrive", "OneDriveConsumer", "OneDriveCommercial"})
        folders.push_back(variable(name));
    return folders;
}
