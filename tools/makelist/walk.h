// What lies in a tree that is to be published.
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "makelist/digests.h"
#include "makelist/rules.h"

struct FoundTree
{
    std::set<std::string> directories;
    std::vector<TreeFile> files;   // to be published
    std::set<std::string> leftOut; // files that are not
};

// Goes through the tree below `root`, links followed, and reports what the launcher's own walk skips
// silently: what is neither a file nor a directory, and what can't be read. A link to a folder above it is an
// error. `output` is the file that the list will be written to, or empty: it is left out, and so are its
// packed copy (".gz") and what an ended run may have left of it. Gives an error if `root` itself can't be
// read.
std::error_code WalkTree(const std::filesystem::path& root, const std::string& output, FoundTree& found,
                         Remarks& remarks);
