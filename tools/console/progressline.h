// The line on a terminal that shows how far a long run has come.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

struct Progress
{
    std::size_t filesDone = 0;
    std::size_t files = 0;
    std::int64_t bytesDone = 0;
    std::int64_t bytes = 0; // 0: no bytes to speak of, and the files alone count
};

// A long operation calls it some times a second.
using ProgressFunction = std::function<void(const Progress& progress)>;

// "120 / 3 000 files   4%   512.0 MB/s   1 min 20 s left" after so many seconds. The rate is the mean since
// the start. It is left out where no bytes count, and the time left is left out until something is done.
std::string ProgressText(const Progress& progress, double seconds);

// Shows the text on standard error, if that is a terminal, and renews it a few times a second.
class ProgressLine
{
public:
    // The clock starts here.
    ProgressLine();
    // Removes the line.
    ~ProgressLine();

    void Show(const Progress& progress);
    // Removes the line until the next Show, so that something else can be printed.
    void Clear();

private:
    bool watched = false;
    double started = 0;    // seconds of the steady clock
    double shownAt = 0;    // the same; of the last Show that printed
    std::size_t width = 0; // bytes on the terminal, all ASCII
};
