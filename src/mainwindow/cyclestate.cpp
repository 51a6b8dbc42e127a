#include "mainwindow/cyclestate.h"

#include "platform/platform.h"

namespace {
constexpr UINT FinePeriod = 1; // milliseconds
}

UpdateState updateState;
std::int32_t sleepCountdown;
bool filesWereQueued;
bool waitNoticePending = true;
bool messageBoxOpen;
std::string checkedRoot;
bool timerIsFine;

void SetTimerFine(bool fine)
{
    if (fine == timerIsFine)
        return;
    timerIsFine = fine;
    // Refused, the sleeps last longer, and that is all.
    static_cast<void>(fine ? timeBeginPeriod(FinePeriod) : timeEndPeriod(FinePeriod));
}

void ResetCycleState()
{
    updateState = UpdateState::Idle;
    sleepCountdown = 0;
    filesWereQueued = false;
    waitNoticePending = true;
    messageBoxOpen = false;
    checkedRoot.clear();
}
