// Makes the publisher's list of a tree: walks it, takes the digests, writes the records.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "makelist/rules.h"

// Called before each file is digested: files done, files in all.
using ListProgress = std::function<void(std::size_t done, std::size_t total)>;

// The list's text: D records of every directory on the way to a published file, parents first, then the F
// records, both sorted, so that the same tree gives the same list. Only to be used if `remarks` got no error.
// Blocks.
std::string MakeList(std::string tree, Remarks& remarks, const ListProgress& progress);
