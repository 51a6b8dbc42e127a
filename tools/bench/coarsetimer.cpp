// These calls stand in for those of the platform layer. The linker takes them first.
#include "bench/coarsetimer.h"

#include <chrono>
#include <thread>

#include "platform/platform.h"

TimerOf timerOf = TimerOf::Linux;

namespace {
using namespace std::chrono;

constexpr nanoseconds CoarseTick = 15'625us;
int asked = 0; // calls of timeBeginPeriod that timeEndPeriod has not undone
} // namespace

void Sleep(DWORD length)
{
    const bool coarse = timerOf == TimerOf::WindowsUnasked || (timerOf == TimerOf::Windows && asked == 0);
    if (!coarse) {
        std::this_thread::sleep_for(milliseconds(length));
        return;
    }
    const nanoseconds end = steady_clock::now().time_since_epoch() + milliseconds(length);
    const nanoseconds tick = (end / CoarseTick + (end % CoarseTick != 0ns)) * CoarseTick;
    std::this_thread::sleep_until(steady_clock::time_point(tick));
}

UINT timeBeginPeriod(UINT)
{
    ++asked;
    return 0;
}

UINT timeEndPeriod(UINT)
{
    --asked;
    return 0;
}
