#include "mainwindow/cyclestate.h"

UpdateState updateState;
std::int32_t sleepCountdown;
bool filesWereQueued;
bool waitNoticePending = true;
bool messageBoxOpen;
std::string checkedRoot;

void ResetCycleState()
{
    updateState = UpdateState::Idle;
    sleepCountdown = 0;
    filesWereQueued = false;
    waitNoticePending = true;
    messageBoxOpen = false;
    checkedRoot.clear();
}
