// The publisher's file list: its format, its record in memory and its reader.
//
// A text file, one record per line, LF or CR LF, fields separated by "#" without quoting:
//     #records#count         how many D and F records the list holds; optional
//     D#path                 a directory that the tree must hold
//     F#path#size#digest     a file that the tree must hold
// Anything else is skipped. Paths are relative to the tree's root, with backslashes, in the case they have on
// disk. Every directory that directly holds a listed file needs a D record, parents first.
//
// A part of a list would delete every file that the rest names. What stops a list that was cut short:
// - on the way, if its length or its end is announced (Content-Length, chunks): the transfer fails
//   (qtdownload). Qt drops the length of a packed list; only the count can tell then.
// - with a count of its records: ParseFileList refuses it. make-list always writes one.
// - by a full disk: TransferFinished deletes it (mainwindow/transferend.cpp).
// - by a disk that fails while it is read: ReadListLines gives no line, and a list without lines is invalid.
// A last line without its line end is accepted. If its digest is cut, that one file is fetched once more.
// With neither length nor count, nothing tells: the part is taken for the complete list, and what the rest
// names is deleted.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <unordered_set>
#include <vector>

// The second field of the line that counts the records; the first one is empty.
constexpr char RecordCountKey[] = "records";

// A listed file.
struct FileEntry
{
    std::string path;
    std::int32_t size;  // bytes, low 32 bits; only the total of what is fetched is made of it
    std::string digest; // SHA-256 as text, not validated
};

// The records in the order of their lines. A path that is listed twice is in it twice.
struct ContentList
{
    std::vector<std::string> directories;

    // Parallel: element i of the three is one FileEntry.
    std::vector<std::string> fileNames;
    std::vector<std::int32_t> fileSizes;
    std::vector<std::string> fileDigests;

    // The same names to look up: a list has as many as the tree has files.
    std::unordered_set<std::string> directoryIndex;
    std::unordered_set<std::string> fileNameIndex;

    void AddDirectory(const std::string& path);
    void AddFile(const FileEntry& file);
    // The file at this place, `index` less than the number of files.
    FileEntry File(std::size_t index) const;
};

// Appends each line of the file, without its line end, to `lines`, which stays as it was if the file can't be
// read to its end.
void ReadListLines(std::vector<std::string>& lines, const std::string& path);
// The same from a file that is open in binary mode, from its present place on. A test gives it one that
// fails.
void ReadListLines(std::vector<std::string>& lines, std::FILE& file);

// The lines of a list that has come as text, taken in the same way.
std::vector<std::string> SplitLines(const std::string& text);

// Appends the fields of `text` to `fields`: one more than there are delimiters. `delimiter` is not empty.
void SplitString(const std::string& text, const std::string& delimiter, std::vector<std::string>& fields);

// Adds the records of the lines to `content`, which is empty. False if the list is invalid: it has no F
// record, a record with too few fields, a path that could leave the tree, or a count that is not the number
// of its records. `fault`, if not null, then says which. Half a list or a foreign page must never be taken
// for an order to delete.
bool ParseFileList(const std::vector<std::string>& lines, ContentList& content, std::string* fault = nullptr);
