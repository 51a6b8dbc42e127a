// Questions to the disk, and the removal of a directory tree. A failure shows in the result only.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

// A file of the C library that is closed with its owner.
struct FileCloser
{
    void operator()(std::FILE* file) const
    {
        std::fclose(file);
    }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

// Appends directory + "\" + name for each plain file, depth first, in the order the system gives. Directories
// are never listed. If `recursive`, they are entered, also through links. An unreadable one appends nothing.
void ListDirectory(const std::string& directory, std::vector<std::string>& files, bool recursive);

// True if the path can be opened for reading: false for a directory and for a locked file too.
bool FileExists(const std::string& path);

// True if anything of that name exists, file or directory.
bool PathExists(const std::string& path);

// Removes a directory with all that it holds. An absent path and a plain file are left alone, and what can't
// be removed stays.
void RemoveDirectoryTree(const std::string& path);

// The process's current directory as a full path without a closing backslash. Empty if it can't be read, or
// does not fit the 260 bytes that the system's calls work with.
std::string CurrentDirectory();
