#include "gametree/filelist.h"

#include <cstdlib>
#include <fstream>

#include "gametree/installedtree.h"
#include "helpers/text.h"
#include "helpers/wrapping.h"
#include "platform/platform.h"

namespace {
constexpr int UsedFields = 4; // of a record

// The line up to its last field that counts. Behind it, a line of some megabytes can hold as many others.
std::string UsedPart(const std::string& line)
{
    std::size_t end = line.find('#');
    for (int fields = 1; fields < UsedFields && end != std::string::npos; ++fields)
        end = line.find('#', end + 1);
    return line.substr(0, end);
}
} // namespace

void ReadListLines(std::vector<std::string>& lines, const std::string& path)
{
    // In binary mode, and CR LF taken here: text mode would read differently on each system, and on Windows
    // end at a Ctrl-Z in the middle of the list.
    std::ifstream file(NativePath(path), std::ios::binary);
    std::string line;
    while (std::getline(file, line)) {
        const bool ended = !file.eof();
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

bool ParseFileList(const std::vector<std::string>& lines, ContentList& content)
{
    std::vector<std::string> fields;
    for (const std::string& line : lines) {
        fields.clear();
        SplitString(UsedPart(line), "#", fields);
        if (Equals(fields[0], "D")) {
            if (fields.size() < 2 || !StaysInTree(fields[1]))
                return false;
            content.directories.push_back(fields[1]);
        } else if (Equals(fields[0], "F")) {
            if (fields.size() < 4 || !StaysInTree(fields[1]))
                return false;
            content.fileNames.push_back(fields[1]);
            content.fileSizes.push_back(LowBits(std::strtoll(fields[2].c_str(), nullptr, 10)));
            content.fileDigests.push_back(fields[3]);
        }
    }
    content.directoryIndex.insert(content.directories.begin(), content.directories.end());
    content.fileNameIndex.insert(content.fileNames.begin(), content.fileNames.end());
    return !content.fileNames.empty();
}
