// The system's entry point. It calls the one that the program has on Windows.
#include "platform/platform.h"

int main()
{
    ShareHeapAmongThreads();
    FixTextConventions();
    char commandLine[] = "";
    return WinMain(nullptr, nullptr, commandLine, SW_SHOWDEFAULT);
}
