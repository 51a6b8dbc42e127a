// A harmless program for the process tests. It reports and ends if KACHEL_REPORT names a file; else it waits
// to be ended, and gives up after a while.
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

int main(int argc, char**)
{
    if (const char* report = std::getenv("KACHEL_REPORT")) {
        // Under its own name only when it is complete.
        const std::string part = std::string(report) + ".part";
        std::ofstream(part) << std::filesystem::current_path().u8string() << '\n' << argc - 1 << " arguments";
        std::filesystem::rename(part, report);
        return 0;
    }
    std::this_thread::sleep_for(std::chrono::seconds(60));
}
