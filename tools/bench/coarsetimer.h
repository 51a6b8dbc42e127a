// The timer of Windows, for the bench: its sleeps last longer than a start would like.
#pragma once

enum class TimerOf
{
    Linux,         // each sleep lasts as long as it says
    Windows,       // ticks each 15.6 ms, unless somebody asks for more
    WindowsUnasked // ticks each 15.6 ms, whatever anybody asks
};

// What Sleep() goes by in this program. Linux, until somebody says otherwise.
extern TimerOf timerOf;
