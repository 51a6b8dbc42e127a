// The process-wide state of the one update cycle that a run performs. It outlives the window.
// GUI thread only.
#pragma once

#include <cstdint>
#include <string>

// The numeric order matters: Update() steps the cycle while the state is at most DownloadingFiles. In time:
// Idle, FetchingList, DownloadingFiles, then one of the four ends. Nothing leads back to Idle.
enum class UpdateState : std::uint32_t
{
    Idle,              // nothing has been started yet
    DownloadingFiles,  // the queue is worked off
    FetchingList,      // the list is under way, or is being processed
    UpToDate,          // Play is enabled
    Offline,           // something failed; Play is enabled as "Play Offline"
    ProcessesBlocking, // a change is needed while a game process runs: the player is told, then the launcher
                       // quits
    Restarting         // the launcher's own file changed: the new one has been started and this one quits
};

extern UpdateState updateState;
extern std::int32_t sleepCountdown; // ticks until the next sleep
extern bool filesWereQueued;        // the queue has held a file
extern bool waitNoticePending;      // the line about waiting for the last transfers is still to be logged
extern bool messageBoxOpen;         // the box about running processes; meanwhile no tick does anything

// The tree's root for which the cycle was allowed to begin; empty before that. Nothing is deleted or written
// below any other.
extern std::string checkedRoot;

// Whether the system has been asked for a timer of 1 ms, and not yet told that this is over.
extern bool timerIsFine;
// Asks for it, or gives it back. The sleeps of a long list would add up to seconds on Windows otherwise.
// After the cycle the window may stay open for hours.
void SetTimerFine(bool fine);

// Sets all but the timer for the cycle that is about to begin. The window's constructor calls it, since tests
// run several cycles in one process.
void ResetCycleState();
