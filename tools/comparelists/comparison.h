// What an update from one published list to another does to a player who has exactly what the first one
// names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "console/listfile.h"

struct FetchedFile
{
    std::string path;
    std::int64_t size; // bytes
};

struct Comparison
{
    std::size_t fetchedFiles = 0;
    std::int64_t fetchedBytes = 0;
    std::vector<FetchedFile> largest; // of the fetched files, at most ten, the largest first
    std::size_t deletedFiles = 0;
    std::size_t deletedFolders = 0; // with what is in them; they may be made again
    bool restarts = false;          // the launcher, since its own executable is another one
    std::vector<std::string> remarks;
    bool hurts = false; // a remark says that players lose something
};

Comparison CompareLists(const PublishedList& old, const PublishedList& now);

// The comparison as text, the same on every machine. `rate` in Mbit a second; 0: without the time.
std::string ReportText(const Comparison& comparison, double rate);
