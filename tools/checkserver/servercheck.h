// Asks the update server for everything that a launcher would ask for, and compares it with the list.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

#include "console/progressline.h"

// The base of the server's addresses with its closing slash, for what a publisher gives: the base with or
// without it, or the address of the list. Empty if that is no HTTP address.
std::string ServerBase(std::string address);

struct CheckOptions
{
    std::string base;                // as ServerBase gives it
    bool quick = false;              // heads only, and lengths instead of digests
    std::chrono::seconds patience{}; // the check ends when no byte has come for so long
};

struct CheckResult
{
    std::size_t files = 0;    // that the list names; 0 if there is no list to go by
    std::size_t checked = 0;  // of them
    std::size_t findings = 0; // lines said
    bool ended = false;       // early, since no byte came
};

// Says a line for everything that is wrong.
using FindingFunction = std::function<void(const std::string& finding)>;

// The findings come in the order of the list, "path: reason". Runs an event loop of its own. Holds the list
// in memory, and of each file no more than a piece.
CheckResult CheckServer(const CheckOptions& options, const FindingFunction& say,
                        const ProgressFunction& progress);
