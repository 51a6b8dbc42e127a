// Feeds the reader of the file list with whatever the fuzzer makes up. The sanitizers watch the memory; here
// an accepted list is judged anew: it names a file, its vectors are parallel, and no path leaves the tree,
// neither as this system reads it nor as Windows does.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>

#include "gametree/filelist.h"

namespace {
// Not the judge that is on trial. Windows drops dots and blanks at the end of each name.
bool LeavesTree(std::string path)
{
    for (char& letter : path) {
        if (letter == '\0' || letter == ':')
            return true;
        if (letter == '\\')
            letter = '/';
    }
    std::string windows;
    for (std::size_t start = 0; start <= path.size(); start = path.find('/', start) + 1) {
        const std::string name = path.substr(start, path.find('/', start) - start);
        const std::size_t last = name.find_last_not_of(". ");
        const bool onlyDots = last == std::string::npos && name.find('.') != std::string::npos;
        windows += onlyDots ? "/.." : "/" + name.substr(0, last + 1);
        if (path.find('/', start) == std::string::npos)
            break;
    }
    const std::string tree = "/player/tree/";
    for (const std::string& joined : {tree + path, tree + windows}) {
        if (std::filesystem::path(joined).lexically_normal().string().compare(0, tree.size(), tree) != 0)
            return true;
    }
    return !path.empty() && path.front() == '/';
}

bool IsSound(const ContentList& content)
{
    for (const std::vector<std::string>* paths : {&content.directories, &content.fileNames}) {
        for (const std::string& path : *paths) {
            if (LeavesTree(path))
                return false;
        }
    }
    const std::size_t files = content.fileNames.size();
    return files > 0 && content.fileSizes.size() == files && content.fileDigests.size() == files;
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
    if (ParseFileList(lines, content) && !IsSound(content))
        std::abort();
    return 0;
}
