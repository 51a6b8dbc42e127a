// Asks the update server for everything that a launcher would ask for, and compares it with the list.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

#include "console/listfile.h"
#include "console/progressline.h"

// The base of the server's addresses with its closing slash, for what a publisher gives: the base with or
// without it, or the address of the list. Empty if that is no HTTP address.
std::string ServerBase(std::string address);

// True for what names a server or cache: host or host:port.
bool IsServerAddress(const std::string& address);

struct CheckOptions
{
    std::string base;                // as ServerBase gives it
    bool quick = false;              // heads only, and lengths instead of digests
    std::chrono::seconds patience{}; // the check ends when no byte has come for so long
    // The list that the server should give out, and the name of its file. Null: what the server gives out is
    // taken for it.
    const PublishedList* published = nullptr;
    std::string publishedName;
    // The server or cache that is asked, under the host name of the base. Empty: the one of that name.
    std::string from;
};

struct CheckResult
{
    std::size_t files = 0;    // that the list names; 0 if none was asked for
    std::size_t checked = 0;  // of them
    std::size_t findings = 0; // lines said, remarks not counted
    bool ended = false;       // early, since no byte came
    std::string whyNothing;   // why no file was asked for, or empty
};

// Says a line for everything that is wrong, and for each remark.
using FindingFunction = std::function<void(const std::string& finding)>;

// The findings come in the order of the list, "path: reason", and then remarks on how long caches may keep
// what came. Runs an event loop of its own. Holds the list in memory, and of each file no more than a piece.
CheckResult CheckServer(const CheckOptions& options, const FindingFunction& say,
                        const ProgressFunction& progress);

// The last line of the program.
std::string SummaryText(const CheckOptions& options, const CheckResult& result);
