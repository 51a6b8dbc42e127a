// One fraction on two displays: the bar in the window and the button in the taskbar.
#include <cmath>
#include <limits>

#include <QProgressBar>

#include "form/mainwindowform.h"
#include "mainwindow/mainwindow.h"
#include "platform/platform.h"
#include "startup/launchercontext.h"

namespace {
// Truncated toward zero. What does not fit saturates, and what is not a number counts as 0: the plain
// conversion would be undefined.
int Scaled(float fraction)
{
    const double value = static_cast<double>(fraction) * ProgressScale;
    if (std::isnan(value))
        return 0;
    if (value >= std::numeric_limits<int>::max())
        return std::numeric_limits<int>::max();
    if (value <= std::numeric_limits<int>::min())
        return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}
} // namespace

void MainWindow::SetProgress(float fraction)
{
    const LauncherContext& context = LauncherContext::Instance();
    if (context.closing)
        return;

    const int value = Scaled(fraction);
    context.ProgressBar->setValue(value);
    if (!taskbar)
        return;

    const auto window = reinterpret_cast<HWND>(winId());
    taskbar->SetProgressValue(window, static_cast<ULONGLONG>(value), ProgressScale);
    if (fraction == 0.0f)
        taskbar->SetProgressState(window, TBPF_NOPROGRESS);
}
