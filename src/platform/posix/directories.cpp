// Path form, current directory, temporary folder, and the making and listing of folders.
#include "platform/platform.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
// Writes the path as Windows writes it, and gives its length. If there is too little room, writes nothing and
// gives the size that it needs with the closing zero.
DWORD GivePath(std::string path, DWORD size, LPSTR buffer)
{
    std::replace(path.begin(), path.end(), '/', '\\');
    const DWORD length = static_cast<DWORD>(path.size());
    if (length >= size)
        return length + 1;
    std::memcpy(buffer, path.c_str(), length + 1);
    return length;
}
} // namespace

std::string NativePath(const std::string& path)
{
    std::string native = path;
    std::replace(native.begin(), native.end(), '\\', '/');
    return native;
}

std::string FinalPath(const std::string& path)
{
    std::error_code error;
    std::string found = std::filesystem::canonical(NativePath(path), error).string();
    std::replace(found.begin(), found.end(), '/', '\\');
    found.erase(found.find_last_not_of('\\') + 1);
    return found;
}

std::vector<std::string> SystemFolders()
{
    std::vector<std::string> folders = {
        "/boot", "/etc", "/home", "/media",           "/mnt",       "/opt",     "/root",
        "/run",  "/srv", "/tmp",  "/usr/local/share", "/usr/share", "/var/lib", "/var/tmp"};
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime && runtime[0] == '/')
        folders.emplace_back(runtime);
    return folders;
}

// On Windows the current directory can't be removed. Here it can, and then its last path is given. A folder
// whose name holds a backslash can't be written as a Windows path, which is a failure.
DWORD GetCurrentDirectoryA(DWORD size, LPSTR buffer)
{
    static std::string lastPath;
    std::error_code error;
    std::string path = std::filesystem::current_path(error).string();
    if (error == std::errc::no_such_file_or_directory)
        path = lastPath;
    else if (error)
        return 0;
    lastPath = path;
    if (path.empty() || path.find('\\') != std::string::npos)
        return 0;

    return GivePath(path, size, buffer);
}

// Windows always gives an absolute path. A relative one of the environment would be another folder for the
// temporary copy, which stands in another directory.
DWORD GetTempPathA(DWORD size, LPSTR buffer)
{
    const char* chosen = std::getenv("TMPDIR");
    std::string path = chosen && chosen[0] == '/' ? chosen : "/tmp";
    if (path.back() != '/')
        path += '/';
    return GivePath(path, size, buffer);
}

// Windows changes nothing if the folder can't be entered, and so does chdir.
BOOL SetCurrentDirectoryA(LPCSTR path)
{
    return chdir(NativePath(path).c_str()) == 0;
}

// Windows makes one folder, fails for anything that exists, and takes a closing separator: so does mkdir.
BOOL CreateDirectoryA(LPCSTR path, void* /*security*/)
{
    return mkdir(NativePath(path).c_str(), 0777) == 0;
}

// Windows yields "." and ".." too, and takes any number of separators before the "*.*".
HANDLE FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* data)
{
    const std::string native = NativePath(pattern);
    const std::size_t separator = native.rfind('/');
    if (native.substr(separator + 1) != "*.*") // npos + 1 is 0
        return INVALID_HANDLE_VALUE;

    // With its separator, so that the root stays the root.
    const std::string directory = separator == std::string::npos ? "." : native.substr(0, separator + 1);
    DIR* stream = opendir(directory.c_str());
    if (!stream)
        return INVALID_HANDLE_VALUE;
    if (!FindNextFileA(stream, data)) {
        closedir(stream);
        return INVALID_HANDLE_VALUE;
    }
    return stream;
}

// Windows knows only files and directories. A name that holds a backslash would name another file there, so
// it is left out, and so is one that does not fit the record.
BOOL FindNextFileA(HANDLE find, WIN32_FIND_DATAA* data)
{
    DIR* stream = static_cast<DIR*>(find);
    while (const dirent* entry = readdir(stream)) {
        const std::size_t length = std::strlen(entry->d_name);
        if (length >= sizeof(data->cFileName) || std::strchr(entry->d_name, '\\'))
            continue;

        // The disk is asked only if the listing gives no type, or that of a link.
        unsigned char type = entry->d_type;
        struct stat status;
        if ((type == DT_LNK || type == DT_UNKNOWN) && fstatat(dirfd(stream), entry->d_name, &status, 0) == 0)
            type = static_cast<unsigned char>(IFTODT(status.st_mode));
        if (type != DT_REG && type != DT_DIR)
            continue;

        data->dwFileAttributes = type == DT_DIR ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
        std::memcpy(data->cFileName, entry->d_name, length + 1);
        return TRUE;
    }
    return FALSE;
}

BOOL FindClose(HANDLE find)
{
    return closedir(static_cast<DIR*>(find)) == 0;
}
