// What a folder is really called. Qt 5 sees through symbolic links only.
#include "platform/platform.h"

#include <algorithm>

namespace {
// The path of an open folder in one of the system's forms. Empty on failure.
std::string PathOf(HANDLE folder, DWORD form)
{
    std::string path(MAX_PATH, '\0');
    for (;;) {
        const DWORD length = GetFinalPathNameByHandleA(folder, &path[0], DWORD(path.size()), form);
        const bool fits = length < path.size();
        path.resize(length); // with the closing zero, if there was too little room
        if (fits)
            return path;
    }
}

// Takes "\\?\UNC\server\share" for "\\server\share", and "\\?\C:\" for "C:".
std::string Plain(const std::string& path)
{
    const std::string local = "\\\\?\\";
    const std::string share = "\\\\?\\UNC\\";
    std::string plain = path;
    if (plain.compare(0, share.size(), share) == 0)
        plain.replace(0, share.size(), "\\\\");
    else if (plain.compare(0, local.size(), local) == 0)
        plain.erase(0, local.size());
    plain.erase(plain.find_last_not_of('\\') + 1);
    return plain;
}
} // namespace

std::string FinalPath(const std::string& path)
{
    // A folder is opened only with this flag. No access is asked for, so nobody's right to read matters.
    const HANDLE folder = CreateFileA(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (folder == INVALID_HANDLE_VALUE)
        return std::string();
    // The second is for a disk that has no letter as the system sees it, such as some in memory. The third is
    // for a share, where the first fails if one of the folders above may not be read.
    std::string found;
    for (const DWORD form : {VOLUME_NAME_DOS, VOLUME_NAME_NT, FILE_NAME_OPENED}) {
        if (found.empty())
            found = PathOf(folder, form);
    }
    CloseHandle(folder);
    return Plain(found);
}
