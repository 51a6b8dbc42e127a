#include "startup/startclaim.h"

#include <algorithm>

#include "digest/sha256.h"
#include "gametree/layout.h"
#include "helpers/paths.h"
#include "platform/platform.h"
#include "startup/staleinstances.h"

namespace {
constexpr ULONGLONG ClaimLifetime = 30 * 10'000'000ull; // of 100 ns
constexpr DWORD Pause = 50;                             // milliseconds
constexpr int TriesToOpen = 40;
constexpr int LooksForOthers = 20;

// The claim is an empty file. The time of its last write is the time of the start. Gives the empty path if
// there is no temporary folder.
std::string ClaimPath(const std::string& launcherFolder)
{
    char temporaryFolder[MAX_PATH + 1];
    const DWORD length = GetTempPathA(sizeof(temporaryFolder), temporaryFolder);
    if (length == 0 || length >= sizeof(temporaryFolder))
        return std::string();

    // A drive's root is the only folder that is given with a closing backslash.
    const std::string folder = StripPathComponents(launcherFolder, 0);
    Sha256Context digest;
    digest.Append(reinterpret_cast<const std::uint8_t*>(folder.data()), folder.size());
    return temporaryFolder + std::string(LauncherFileName) + "-" + digest.Finish();
}

// Opens the claim for this process alone, and makes it if there is none. `found` says whether there was one.
// Waits while another process has it open. INVALID_HANDLE_VALUE on failure.
HANDLE OpenClaim(const std::string& path, bool& found)
{
    for (int tries = 1;; ++tries) {
        const HANDLE claim = CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_DELETE,
                                         nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        const DWORD error = GetLastError();
        found = error == ERROR_ALREADY_EXISTS;
        if (claim != INVALID_HANDLE_VALUE || error != ERROR_SHARING_VIOLATION || tries == TriesToOpen)
            return claim;
        Sleep(Pause);
    }
}

ULONGLONG Ticks(const FILETIME& time)
{
    return ULONGLONG(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

// A time in the future means that the clock was set back. Its distance counts too, so that such a claim does
// not last longer than the others.
bool IsYoung(HANDLE claim)
{
    FILETIME written = {};
    FILETIME now = {};
    GetSystemTimeAsFileTime(&now);
    if (!GetFileTime(claim, nullptr, nullptr, &written))
        return false;
    const ULONGLONG earlier = std::min(Ticks(written), Ticks(now));
    const ULONGLONG later = std::max(Ticks(written), Ticks(now));
    return later - earlier < ClaimLifetime;
}

// A single look can miss both processes of a start: the installed run has ended, and the copy that it started
// does not show its name yet.
bool OtherInstancesRun()
{
    for (int looks = 1; OtherInstances().empty(); ++looks) {
        if (looks == LooksForOthers)
            return false;
        Sleep(Pause);
    }
    return true;
}
} // namespace

bool ClaimStart(const std::string& launcherFolder)
{
    bool found = false;
    const HANDLE claim = OpenClaim(ClaimPath(launcherFolder), found);
    if (claim == INVALID_HANDLE_VALUE)
        return true;

    // A refused start keeps the claim open until its process ends. So of two starts that find the claim of a
    // crashed one, the second decides after the first has ended. Otherwise each could see the other and end.
    if (found && IsYoung(claim) && OtherInstancesRun()) {
        [[maybe_unused]] static volatile HANDLE keptOpen; // only so that a leak checker sees where it is
        keptOpen = claim;
        return false;
    }

    FILETIME now = {};
    GetSystemTimeAsFileTime(&now);
    SetFileTime(claim, nullptr, nullptr, &now);
    CloseHandle(claim);
    return true;
}

void WaitForRefusedStarts()
{
    for (int looks = 1; looks < LooksForOthers && !OtherInstances().empty(); ++looks)
        Sleep(Pause);
}

void EndStartClaim(const std::string& launcherFolder)
{
    DeleteFileA(ClaimPath(launcherFolder).c_str());
}
