#include "makelist/makelist.h"

#include <algorithm>
#include <filesystem>
#include <thread>

#include "console/wording.h"
#include "gametree/layout.h"
#include "helpers/paths.h"
#include "helpers/text.h"
#include "makelist/walk.h"
#include "platform/platform.h"

namespace {
// Every directory above one of the paths.
template <typename Paths>
std::set<std::string> DirectoriesAbove(const Paths& paths)
{
    std::set<std::string> directories;
    for (std::string path : paths) {
        for (int cut = LastBackslash(path); cut >= 0; cut = LastBackslash(path)) {
            EraseFrom(path, cut);
            if (!directories.insert(path).second)
                break;
        }
    }
    return directories;
}

// Warns of directories without a published file, since they get no record.
void WarnOfUnlistedDirectories(const std::set<std::string>& all, const std::set<std::string>& listed,
                               const std::set<std::string>& holdingLeftOut, Remarks& remarks)
{
    for (const std::string& directory : all) {
        if (listed.count(directory) != 0 || SparedFolderIn(directory) != nullptr)
            continue;
        if (holdingLeftOut.count(directory) != 0)
            remarks.warnings.push_back(Remark(
                directory, "holds only files that are left out: the launcher may remove it with them"));
        else
            remarks.warnings.push_back(
                Remark(directory, "an empty directory is not listed and stays unmanaged"));
    }
}
} // namespace

std::string MakeList(std::string tree, Remarks& remarks, const ProgressFunction& progress,
                     const std::string& output, unsigned threads)
{
    ReplaceAll(tree, "/", "\\");
    while (!tree.empty() && tree.back() == '\\')
        tree.pop_back();

    FoundTree found;
    // With its separator, so that the system's root stays the root.
    const std::filesystem::path root = std::filesystem::u8path(NativePath(tree + "\\"));
    if (const std::error_code error = WalkTree(root, output, found, remarks)) {
        remarks.errors.push_back(Remark(NativePath(tree), "can't be read (" + error.message() + ")"));
        return "";
    }
    std::sort(found.files.begin(), found.files.end(),
              [](const TreeFile& a, const TreeFile& b) { return a.path < b.path; });

    std::set<std::string> files;
    std::int64_t totalSize = 0;
    for (const TreeFile& file : found.files) {
        files.insert(files.end(), file.path);
        totalSize += file.size;
    }
    std::set<std::string> directories = DirectoriesAbove(files);
    // Launchers refuse a root that holds somebody else's programs. An empty folder beside "Game" tells them
    // that the folder of this name was the game's before.
    const std::set<std::string> leftOut = DirectoriesAbove(found.leftOut);
    for (const std::string& directory : found.directories) {
        if (LastBackslash(directory) < 0 && leftOut.count(directory) == 0)
            directories.insert(directory);
    }
    for (const std::string& directory : directories)
        CheckName(directory, remarks);
    for (const TreeFile& file : found.files) {
        CheckName(file.path, remarks);
        CheckFile(file.path, file.size, remarks);
    }
    for (const std::string& file : found.leftOut)
        CheckLeftOut(file, remarks);
    WarnOfUnlistedDirectories(found.directories, directories, leftOut, remarks);
    CheckList(directories, files, totalSize, remarks);
    // With an error there will be no list, so no digests are needed.
    if (!remarks.errors.empty())
        return "";

    if (threads == 0)
        threads = std::max(1u, std::thread::hardware_concurrency());
    const std::vector<FileDigest> digests = TakeDigests(tree, found.files, threads, progress);

    std::string list = "#records#" + std::to_string(directories.size() + files.size()) + "\n";
    for (const std::string& directory : directories)
        list += "D#" + directory + "\n";
    for (std::size_t i = 0; i < digests.size(); ++i) {
        const TreeFile& file = found.files[i];
        if (digests[i].error.empty())
            list += "F#" + file.path + "#" + std::to_string(file.size) + "#" + digests[i].digest + "\n";
        else
            remarks.errors.push_back(Remark(file.path, digests[i].error));
    }
    return remarks.errors.empty() ? list : "";
}
