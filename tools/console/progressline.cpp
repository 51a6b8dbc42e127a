#include "console/progressline.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "console/wording.h"
#include "helpers/numbers.h"
#include "platform/platform.h"

namespace {
constexpr double ShownEvery = 0.2; // seconds
constexpr double BytesPerMegabyte = 1024.0 * 1024.0;

double Now()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::string Formatted(const char* format, double value)
{
    char text[40];
    std::snprintf(text, sizeof(text), format, value);
    return text;
}

} // namespace

std::string ProgressText(const Progress& progress, double seconds)
{
    double fraction = 0;
    if (progress.bytes > 0)
        fraction = static_cast<double>(progress.bytesDone) / static_cast<double>(progress.bytes);
    else if (progress.files > 0)
        fraction = static_cast<double>(progress.filesDone) / static_cast<double>(progress.files);
    fraction = std::min(fraction, 1.0); // a server can send more than the list says

    std::string text = GroupDigits(std::to_string(progress.filesDone)) + " / " +
                       GroupDigits(std::to_string(progress.files)) + " files   " + PercentText(fraction) +
                       "%";
    if (progress.bytes > 0 && seconds > 0)
        text +=
            Formatted("   %.1f MB/s", static_cast<double>(progress.bytesDone) / BytesPerMegabyte / seconds);
    if (fraction > 0)
        text += "   " + DurationText(seconds / fraction - seconds) + " left";
    return text;
}

ProgressLine::ProgressLine() : watched(_isatty(_fileno(stderr)) != 0), started(Now()) {}

ProgressLine::~ProgressLine()
{
    Clear();
}

void ProgressLine::Show(const Progress& progress)
{
    const double now = Now();
    if (!watched || now - shownAt < ShownEvery)
        return;
    shownAt = now;
    std::string text = ProgressText(progress, now - started);
    const std::size_t length = text.size();
    if (length < width)
        text.append(width - length, ' ');
    width = length;
    std::fprintf(stderr, "\r%s", text.c_str());
    std::fflush(stderr);
}

void ProgressLine::Clear()
{
    if (width == 0)
        return;
    std::fprintf(stderr, "\r%*s\r", static_cast<int>(width), "");
    std::fflush(stderr);
    width = 0;
}
