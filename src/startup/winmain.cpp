// The entry point. Every start is one of two kinds of run, told apart by the current directory alone: the
// installed run relays to a temporary copy, and the temporary run opens the window.

#include "gametree/layout.h"
#include "gametree/strings.h"
#include "helpers/files.h"
#include "helpers/paths.h"
#include "helpers/text.h"
#include "platform/platform.h"
#include "startup/application.h"
#include "startup/launchercontext.h"
#include "startup/relay.h"
#include "startup/staleinstances.h"
#include "startup/startclaim.h"
#include "startup/steadyclock.h"

namespace {
void ShowMessageBox(std::string text)
{
    MessageBoxA(nullptr, text.c_str(), text.c_str(), MB_OK);
}

void ShowWrongDirectory(const std::string& directory)
{
    ShowMessageBox(
        "TessaloomLauncher was not started in a correct directory, it should be started in: "
        "Game/TessaloomLauncher/Release. It was started in:\n" +
        directory);
}
} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int)
{
    const std::string currentDirectory = CurrentDirectory();
    if (currentDirectory.empty()) {
        ShowWrongDirectory("(a folder whose path has 260 bytes or more, or cannot be read)");
        return 0;
    }

    if (!Contains(currentDirectory, tempFolderStem)) {
        // Without a copy no window will come, so the next start must not wait for one.
        if (ClaimStart(currentDirectory) && !Relay(currentDirectory))
            EndStartClaim(currentDirectory);
        return 0;
    }

    std::string withSlashes = LauncherFolder;
    ReplaceAll(withSlashes, "\\", "/");
    if (!Contains(currentDirectory, withSlashes) && !Contains(currentDirectory, LauncherFolder)) {
        EndStartClaim(StripPathComponents(currentDirectory, TemporaryFolderDepth));
        ShowWrongDirectory(currentDirectory);
        return 0;
    }

    TerminateOtherInstances();
    SteadyClock::Instance();
    RunApplication(LauncherContext::Instance());
    SteadyClock::Release();
    return 0;
}
