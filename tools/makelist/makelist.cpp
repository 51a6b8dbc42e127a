#include "makelist/makelist.h"

#include <cstdio>
#include <vector>

#include "digest/filedigest.h"
#include "helpers/files.h"
#include "helpers/paths.h"
#include "helpers/text.h"
#include "platform/platform.h"
#include "startup/strings.h"

namespace {
// Bytes, or -1 if the file can't be opened.
std::int64_t FileSize(const std::string& path)
{
    std::FILE* file = _fsopen(path.c_str(), "rb", _SH_DENYNO);
    if (!file)
        return -1;
    const std::int64_t size = _fseeki64(file, 0, SEEK_END) == 0 ? _ftelli64(file) : -1;
    std::fclose(file);
    return size;
}

// Collects every directory below `root`, which ListDirectory does not tell, and remarks on those that can't
// be read, which it passes over. `relative` is empty or ends in a backslash. False if this directory can't be
// read.
bool ListDirectories(const std::string& root, const std::string& relative, std::set<std::string>& directories,
                     Remarks& remarks)
{
    WIN32_FIND_DATAA found;
    const HANDLE find = FindFirstFileA((root + "\\" + relative + "*.*").c_str(), &found);
    if (find == INVALID_HANDLE_VALUE)
        return false;
    do {
        const std::string name = found.cFileName;
        if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) || name == "." || name == "..")
            continue;
        if (ListDirectories(root, relative + name + "\\", directories, remarks))
            directories.insert(relative + name);
        else
            remarks.errors.push_back(Remark(relative + name, "a directory that can't be read"));
    } while (FindNextFileA(find, &found));
    FindClose(find);
    return true;
}

// Every directory above one of the paths.
std::set<std::string> DirectoriesAbove(const std::set<std::string>& paths)
{
    std::set<std::string> directories;
    for (std::string path : paths) {
        int cut;
        while ((cut = LastBackslash(path)) >= 0) {
            EraseFrom(path, cut);
            if (!directories.insert(path).second)
                break;
        }
    }
    return directories;
}

// Directories without a published file get no record, which has its consequences.
void JudgeUnlistedDirectories(const std::set<std::string>& all, const std::set<std::string>& listed,
                              const std::set<std::string>& leftOutFiles, Remarks& remarks)
{
    const std::set<std::string> holdingLeftOut = DirectoriesAbove(leftOutFiles);
    for (const std::string& directory : all) {
        if (listed.count(directory) != 0 || Contains(directory, tempFolderStem))
            continue;
        if (holdingLeftOut.count(directory) != 0)
            remarks.warnings.push_back(
                directory + ": holds only files that are left out: the launcher may remove it with them");
        else
            remarks.warnings.push_back(
                Remark(directory, "an empty directory is not listed and stays unmanaged"));
    }
}
} // namespace

std::string MakeList(std::string tree, Remarks& remarks, const ListProgress& progress)
{
    ReplaceAll(tree, "/", "\\");
    while (!tree.empty() && tree.back() == '\\')
        tree.pop_back();

    std::set<std::string> allDirectories;
    if (!ListDirectories(tree, "", allDirectories, remarks)) {
        remarks.errors.push_back(Remark(tree, "not a directory that can be read"));
        return "";
    }
    std::vector<std::string> found;
    ListDirectory(tree, found, true);

    std::set<std::string> files;
    std::set<std::string> leftOut;
    for (const std::string& path : found) {
        const std::string relative = path.substr(tree.size() + 1);
        (IsLeftOut(relative) ? leftOut : files).insert(relative);
    }
    const std::set<std::string> directories = DirectoriesAbove(files);

    std::string list;
    for (const std::string& directory : directories) {
        JudgeName(directory, remarks);
        list += "D#" + directory + "\n";
    }

    std::int64_t totalSize = 0;
    std::size_t done = 0;
    for (const std::string& file : files) {
        progress(done++, files.size());
        JudgeName(file, remarks);
        const std::string path = tree + "\\" + file;
        const std::int64_t size = FileSize(path);
        const std::string digest = FileSha256(path);
        if (size < 0 || digest.empty()) {
            remarks.errors.push_back(Remark(file, "can't be read"));
            continue;
        }
        JudgeFile(file, size, remarks);
        totalSize += size;
        list += "F#" + file + "#" + std::to_string(size) + "#" + digest + "\n";
    }
    progress(done, files.size());

    for (const std::string& file : leftOut)
        JudgeLeftOut(file, remarks);
    JudgeUnlistedDirectories(allDirectories, directories, leftOut, remarks);
    JudgeList(directories, files, totalSize, remarks);
    ReleaseDigestBuffer();
    return list;
}
