#include "mainwindow/cyclestate.h"

UpdateState updateState = UpdateState::Idle;
std::int32_t sleepCountdown = 0;
bool filesWereQueued = false;
bool waitNoticePending = true;
std::string judgedRoot;

void ResetCycleState()
{
    updateState = UpdateState::Idle;
    sleepCountdown = 0;
    filesWereQueued = false;
    waitNoticePending = true;
    judgedRoot.clear();
}
