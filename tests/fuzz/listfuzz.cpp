// Feeds the reader of the file list with whatever the fuzzer makes up. The sanitizers watch the memory; here
// an accepted list is judged anew: it names a file, its vectors are parallel, and no path leaves the tree.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "gametree/filelist.h"

namespace {
// Not the judge that is on trial. Windows drops dots and blanks at the end of each name, so that a name of
// nothing else is "." or "..".
bool Stays(std::string path)
{
    std::replace(path.begin(), path.end(), '\\', '/');
    std::istringstream names(path);
    for (std::string name; std::getline(names, name, '/');) {
        if (name.find_first_not_of(". ") == std::string::npos && name.find('.') != std::string::npos)
            return false;
    }
    return path.find(':') == std::string::npos && path.find('\0') == std::string::npos &&
           path.rfind('/', 0) != 0;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::string path =
        (std::filesystem::temp_directory_path() / ("list" + std::to_string(std::random_device()()))).string();
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    std::vector<std::string> lines;
    ReadListLines(lines, path);
    std::filesystem::remove(path);

    ContentList content;
    if (!ParseFileList(lines, content))
        return 0;
    const std::vector<std::string>& files = content.fileNames;
    const bool isSound = !files.empty() && content.fileSizes.size() == files.size() &&
                         content.fileDigests.size() == files.size();
    if (!isSound || !std::all_of(files.begin(), files.end(), Stays) ||
        !std::all_of(content.directories.begin(), content.directories.end(), Stays))
        std::abort();
    return 0;
}
