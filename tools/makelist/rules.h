// What a published list cannot hold, and what in a tree may surprise its author.
// Nothing here touches the disk.
//
// Paths are relative to the tree, with backslashes. A remark is one line: the path, then the reason. An error
// makes the list useless or dangerous, a warning does not.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

struct Remarks
{
    std::vector<std::string> errors;
    std::vector<std::string> warnings;
};

// True for files that are not published: the list itself, and those that the launcher spares.
bool IsLeftOut(const std::string& path);

// Warns of a file that is left out although its author may well mean to publish it.
void CheckLeftOut(const std::string& path, Remarks& remarks);

// Checks the last name of a path, of a file or a directory.
void CheckName(const std::string& path, Remarks& remarks);

// Checks what only the whole path of a listed file shows, and its size in bytes.
void CheckFile(const std::string& path, std::int64_t size, Remarks& remarks);

// Checks the list as a whole; `totalSize` in bytes.
void CheckList(const std::set<std::string>& directories, const std::set<std::string>& files,
               std::int64_t totalSize, Remarks& remarks);
