// Feeds the reader of the file list with whatever the fuzzer makes up. The sanitizers watch the memory; here
// an accepted list is checked anew: it names a file, its vectors are parallel, and no path leaves the tree.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include <QRegularExpression>

#include "gametree/filelist.h"

namespace {
// Not the check that is on trial. Windows drops dots and blanks at the end of each name, so that a name of
// nothing else is "." or "..".
bool Stays(const std::string& path)
{
    static const QRegularExpression leaves(R"((^|[/\\])[. ]*\.[. ]*([/\\]|\z)|^[/\\]|[:\0])");
    return !leaves.match(QString::fromLatin1(path.data(), static_cast<int>(path.size()))).hasMatch();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ContentList content;
    if (!ParseFileList(SplitLines(std::string(reinterpret_cast<const char*>(data), size)), content))
        return 0;
    const std::vector<std::string>& files = content.fileNames;
    const bool isSound = !files.empty() && content.fileSizes.size() == files.size() &&
                         content.fileDigests.size() == files.size();
    if (!isSound || !std::all_of(files.begin(), files.end(), Stays) ||
        !std::all_of(content.directories.begin(), content.directories.end(), Stays))
        std::abort();
    return 0;
}
