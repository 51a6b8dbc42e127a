// What the programs of ./bench measure, and how they print it: a line of name and value each.
#pragma once

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>

// Seconds of wall time, from an arbitrary start.
inline double Now()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Most memory that the process has held, in bytes; 0 where the system does not tell in this way.
inline double PeakMemory()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, 6, "VmHWM:") == 0)
            return std::atof(line.c_str() + 6) * 1024;
    }
    return 0;
}

inline void Print(const char* name, double value)
{
    std::printf("%s %.4f\n", name, value);
}

// A virtual machine gives free memory back to its host, and takes long to get it again. After this call there
// is a GiB that has just been used, and the process holds none of it.
inline void WarmMemory()
{
    const char name[] = "warm memory";
    std::ofstream file(name, std::ios::binary);
    const std::string piece(1024 * 1024, 'w');
    for (int i = 0; i < 1024; ++i)
        file << piece;
    file.close();
    std::remove(name);
}

// Prints at its end the seconds of wall time and of processor time that have passed since it was made, and
// the process's peak memory.
struct Measurement
{
    ~Measurement()
    {
        Print("seconds", Now() - start);
        Print("processor", static_cast<double>(std::clock() - used) / CLOCKS_PER_SEC);
        Print("peak", PeakMemory());
    }

    const double start = Now();
    const std::clock_t used = std::clock();
};
