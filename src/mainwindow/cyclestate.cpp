#include "mainwindow/cyclestate.h"

UpdateState updateState;
std::int32_t sleepCountdown;
bool filesWereQueued;
bool waitNoticePending;
std::string judgedRoot;

void ResetCycleState()
{
    updateState = UpdateState::Idle;
    sleepCountdown = 0;
    filesWereQueued = false;
    waitNoticePending = true;
    judgedRoot.clear();
}
