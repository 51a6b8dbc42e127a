// Where the system starts the program: on to the entry point that the program has on Windows.
#include "platform/platform.h"

int main()
{
    ShareHeapAmongThreads();
    FixTextConventions();
    char commandLine[] = "";
    return WinMain(nullptr, nullptr, commandLine, SW_SHOWDEFAULT);
}
