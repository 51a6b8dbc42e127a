// The publisher's file list: its format and its reader.
//
// A text file, one record per line, LF or CR LF, fields separated by "#" without quoting:
//     D#path                 a directory that the tree must hold
//     F#path#size#digest     a file that the tree must hold
// Anything else is skipped. Paths are relative to the tree's root, with backslashes, in the case they have on
// disk. Every directory that directly holds a listed file needs a D record, parents first.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

// The records in the order of their lines; a path that stands twice is there twice.
struct ContentList
{
    std::vector<std::string> directories;
    std::vector<std::string> fileNames;
    std::vector<std::int32_t> fileSizes;  // bytes, low 32 bits; parallel to the names, for the total only
    std::vector<std::string> fileDigests; // SHA-256 as text, not validated; parallel to the names

    // The same names to look up: a list has as many as the tree has files.
    std::unordered_set<std::string> directoryIndex;
    std::unordered_set<std::string> fileNameIndex;
};

// Appends each line of the file, without its line end, to `lines`. An unreadable file appends nothing.
void ReadListLines(std::vector<std::string>& lines, const std::string& path);

// Appends the fields of `text` to `fields`: one more than there are delimiters. `delimiter` is not empty.
void SplitString(const std::string& text, const std::string& delimiter, std::vector<std::string>& fields);

// Adds the records of the lines to an empty list. False if this is no list to act on: no F record, a record
// with too few fields, or a path that could leave the tree. A half-arrived list or a foreign page is no order
// to delete.
bool ParseFileList(const std::vector<std::string>& lines, ContentList& content);
