#include "gametree/filelist.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "gametree/listedpath.h"
#include "helpers/files.h"
#include "helpers/text.h"
#include "helpers/wrapping.h"
#include "platform/platform.h"

namespace {
constexpr std::size_t ReadBlock = 64 * 1024;
constexpr int MostFields = 4; // that a record uses

// Splits off at most the fields that a record uses, however long the line is.
void SplitRecord(const std::string& line, std::vector<std::string>& fields)
{
    std::size_t end = line.find('#');
    for (int found = 1; found < MostFields && end != std::string::npos; ++found)
        end = line.find('#', end + 1);
    fields.clear();
    SplitString(line.substr(0, end), "#", fields);
}

// What is wrong with a record that needs so many fields, or null.
const char* FindRecordFault(const std::vector<std::string>& fields, std::size_t needed)
{
    if (fields.size() < needed)
        return "has too few fields";
    return StaysInTree(fields[1]) ? nullptr : "names a path that could lead out of the tree";
}
} // namespace

void ReadListLines(std::vector<std::string>& lines, const std::string& path)
{
    // In binary mode, and CR LF taken below: text mode would read differently on each system, and on Windows
    // end at a Ctrl-Z in the middle of the list. Not as a stream: some libraries' streams take a failed read
    // for the end of the file.
    const FileHandle file(_fsopen(path.c_str(), "rb", _SH_DENYNO));
    if (file)
        ReadListLines(lines, *file);
}

void ReadListLines(std::vector<std::string>& lines, std::FILE& file)
{
    std::string text;
    std::vector<char> block(ReadBlock);
    std::size_t got = 0;
    do {
        got = std::fread(block.data(), 1, block.size(), &file);
        text.append(block.data(), got);
    } while (got > 0);
    // If the disk fails in the middle, what was read is a part of the list. It would delete every file that
    // the rest names.
    if (std::ferror(&file) != 0)
        return;
    std::vector<std::string> read = SplitLines(text);
    std::move(read.begin(), read.end(), std::back_inserter(lines));
}

std::vector<std::string> SplitLines(const std::string& text)
{
    std::vector<std::string> lines;
    for (std::size_t start = 0, next; start < text.size(); start = next) {
        std::size_t end = text.find('\n', start);
        const bool ended = end != std::string::npos;
        next = ended ? end + 1 : text.size();
        if (!ended)
            end = text.size();
        else if (end > start && text[end - 1] == '\r')
            --end;
        lines.push_back(text.substr(start, end - start));
    }
    return lines;
}

void SplitString(const std::string& text, const std::string& delimiter, std::vector<std::string>& fields)
{
    std::size_t start = 0;
    std::size_t end = text.find(delimiter);
    while (end != std::string::npos) {
        fields.push_back(text.substr(start, end - start));
        start = end + delimiter.size();
        end = text.find(delimiter, start);
    }
    fields.push_back(text.substr(start));
}

void ContentList::AddDirectory(const std::string& path)
{
    directories.push_back(path);
    directoryIndex.insert(path);
}

void ContentList::AddFile(const FileEntry& file)
{
    fileNames.push_back(file.path);
    fileSizes.push_back(file.size);
    fileDigests.push_back(file.digest);
    fileNameIndex.insert(file.path);
}

FileEntry ContentList::File(std::size_t index) const
{
    return {fileNames[index], fileSizes[index], fileDigests[index]};
}

bool ParseFileList(const std::vector<std::string>& lines, ContentList& content, std::string* fault)
{
    const auto refuse = [fault](const std::string& reason) {
        if (fault)
            *fault = reason;
        return false;
    };
    std::vector<std::string> fields;
    std::vector<std::string> counts;
    content.fileNameIndex.reserve(lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        SplitRecord(lines[i], fields);
        const bool isDirectory = Equals(fields[0], "D");
        if (isDirectory || Equals(fields[0], "F")) {
            if (const char* recordFault = FindRecordFault(fields, isDirectory ? 2 : MostFields))
                return refuse("line " + std::to_string(i + 1) + " " + recordFault);
            if (isDirectory)
                content.AddDirectory(fields[1]);
            else
                content.AddFile(
                    {fields[1], LowBits(std::strtoll(fields[2].c_str(), nullptr, 10)), fields[3]});
        } else if (fields[0].empty() && fields.size() >= 2 && Equals(fields[1], RecordCountKey)) {
            counts.push_back(fields.size() >= 3 ? fields[2] : "");
        }
    }

    const std::string records = std::to_string(content.directories.size() + content.fileNames.size());
    for (const std::string& count : counts) {
        if (!Equals(count, records))
            return refuse("it has " + records + " records, and its line \"#" + RecordCountKey +
                          "#\" gives another number");
    }
    return !content.fileNames.empty() || refuse("it names no file");
}
