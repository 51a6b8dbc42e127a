// The digests of many files at once, on all processors.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "console/progressline.h"

// A file as the walk through its tree found it.
struct TreeFile
{
    std::string path;         // relative to the tree, with backslashes
    std::int64_t size = -1;   // bytes
    std::int64_t changed = 0; // milliseconds since 1970
};

// Sets size and time of the file by what the system says of it when it is open. The folder's entry, which a
// walk could take them from, is out of date on Windows if the file was changed under another name.
void TakeState(std::FILE* opened, TreeFile& file);

struct FileDigest
{
    std::string digest; // as a list has it; empty if there is an error
    std::string error;  // why there is no digest
};

// The digest of each file, in the order of `files`; `tree` has no closing separator. A file that is no longer
// as the walk found it is an error, since the list would name content that it does not have. The files go one
// by one to so many threads, each of which holds no more than a piece of one. `progress` is called by the
// calling thread. Blocks.
std::vector<FileDigest> TakeDigests(const std::string& tree, const std::vector<TreeFile>& files,
                                    unsigned threads, const ProgressFunction& progress);
