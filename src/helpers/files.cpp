#include "helpers/files.h"

#include <cstdio>

#include <QDir>
#include <QString>

#include "platform/platform.h"

void ListDirectory(const std::string& directory, std::vector<std::string>& files, bool recursive)
{
    WIN32_FIND_DATAA found;
    const HANDLE find = FindFirstFileA((directory + "\\*.*").c_str(), &found);
    if (find == INVALID_HANDLE_VALUE)
        return;

    do {
        const std::string name = found.cFileName;
        if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
            files.push_back(directory + "\\" + name);
        else if (recursive && name != "." && name != "..")
            ListDirectory(directory + "\\" + name, files, recursive);
    } while (FindNextFileA(find, &found));
    FindClose(find);
}

bool FileExists(const std::string& path)
{
    std::FILE* file = nullptr;
    if (fopen_s(&file, path.c_str(), "rt") != 0 || !file)
        return false;
    std::fclose(file);
    return true;
}

bool PathExists(const std::string& path)
{
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

void RemoveDirectoryTree(const std::string& path)
{
    // The result is dropped: the next run tries again.
    QDir(QString(NativePath(path).c_str())).removeRecursively();
}

std::string CurrentDirectory()
{
    char buffer[MAX_PATH];
    const DWORD length = GetCurrentDirectoryA(sizeof(buffer), buffer);
    return length < sizeof(buffer) ? std::string(buffer, length) : std::string();
}
