#include "gametree/filelist.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "gametree/listedpath.h"
#include "helpers/text.h"
#include "helpers/wrapping.h"
#include "platform/platform.h"

namespace {
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
} // namespace

void ReadListLines(std::vector<std::string>& lines, const std::string& path)
{
    // In binary mode, and CR LF taken below: text mode would read differently on each system, and on Windows
    // end at a Ctrl-Z in the middle of the list.
    std::ifstream file(NativePath(path), std::ios::binary);
    SplitLines(file, lines);
}

void SplitLines(std::istream& text, std::vector<std::string>& lines)
{
    std::string line;
    while (std::getline(text, line)) {
        const bool ended = !text.eof();
        if (ended && !line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
    }
}

void SplitString(const std::string& text, const std::string& delimiter, std::vector<std::string>& fields)
{
    std::size_t start = 0;
    for (std::size_t end; (end = text.find(delimiter, start)) != std::string::npos;
         start = end + delimiter.size())
        fields.push_back(text.substr(start, end - start));
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

bool ParseFileList(const std::vector<std::string>& lines, ContentList& content)
{
    std::vector<std::string> fields;
    std::vector<std::string> counts;
    for (const std::string& line : lines) {
        SplitRecord(line, fields);
        if (Equals(fields[0], "D")) {
            if (fields.size() < 2 || !StaysInTree(fields[1]))
                return false;
            content.AddDirectory(fields[1]);
        } else if (Equals(fields[0], "F")) {
            if (fields.size() < 4 || !StaysInTree(fields[1]))
                return false;
            content.AddFile({fields[1], LowBits(std::strtoll(fields[2].c_str(), nullptr, 10)), fields[3]});
        } else if (fields[0].empty() && fields.size() >= 2 && Equals(fields[1], RecordCountKey)) {
            counts.push_back(fields.size() >= 3 ? fields[2] : "");
        }
    }

    const std::string records = std::to_string(content.directories.size() + content.fileNames.size());
    const bool complete = std::all_of(counts.begin(), counts.end(),
                                      [&](const std::string& count) { return Equals(count, records); });
    return complete && !content.fileNames.empty();
}
