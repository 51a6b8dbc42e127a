// Feeds the reader of the file list with whatever the fuzzer makes up. The sanitizers watch the memory; an
// accepted list names a file, and its vectors are parallel.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "gametree/filelist.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ContentList content;
    const bool accepted =
        ParseFileList(SplitLines(std::string(reinterpret_cast<const char*>(data), size)), content);
    if (accepted && (content.fileNames.empty() || content.fileNames.size() != content.fileDigests.size()))
        std::abort();
    return 0;
}
