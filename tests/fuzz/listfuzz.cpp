// Feeds the reader of the file list with whatever the fuzzer makes up. The sanitizers watch the memory; an
// accepted list names a file, and its vectors are parallel.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "gametree/filelist.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ContentList content;
    if (!ParseFileList(SplitLines(std::string(reinterpret_cast<const char*>(data), size)), content))
        return 0;
    const std::vector<std::string>& files = content.fileNames;
    const bool isSound = !files.empty() && content.fileSizes.size() == files.size() &&
                         content.fileDigests.size() == files.size();
    if (!isSound)
        std::abort();
    return 0;
}
