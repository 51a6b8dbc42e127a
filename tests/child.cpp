// A harmless program for the process tests. It reports and ends if TEST_CHILD_REPORT names a file; else it
// says that it runs, waits to be ended, and gives up after a while.
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

int main(int argc, char**)
{
    if (const char* report = std::getenv("TEST_CHILD_REPORT")) {
        std::ofstream(std::filesystem::u8path(report), std::ios::binary)
            << std::filesystem::current_path().u8string() << '\n'
            << argc - 1 << " arguments";
        return 0;
    }
    std::signal(SIGTERM, SIG_IGN); // as a program that hangs
    std::puts("running");
    std::fflush(stdout);
    std::this_thread::sleep_for(std::chrono::seconds(60));
}
