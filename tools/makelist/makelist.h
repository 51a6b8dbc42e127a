// Makes the publisher's list of a tree: walks it, takes the digests, writes the records.
#pragma once

#include <string>

#include "makelist/digests.h"
#include "makelist/rules.h"

// The list's text: how many records it has, then the D records of every directory on the way to a published
// file and of empty ones in the root, parents first, then the F records, both sorted, so that the same tree
// gives the same list. It is empty if `remarks` got an error. `output` is the file that the list will be
// written to, or empty. If it lies in the tree, it is not listed. `threads` take the digests; 0: as many as
// there are processors. Blocks.
std::string MakeList(std::string tree, Remarks& remarks, const ProgressFunction& progress,
                     const std::string& output = "", unsigned threads = 0);
