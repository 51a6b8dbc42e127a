#include "comparelists/comparison.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "console/wording.h"
#include "gametree/foreignfiles.h"
#include "gametree/layout.h"
#include "helpers/numbers.h"
#include "helpers/text.h"
#include "helpers/wrapping.h"

namespace {
using Names = std::unordered_set<std::string>;

constexpr std::size_t LargestShown = 10;
constexpr std::size_t NoPlace = static_cast<std::size_t>(-1);

// The folder that holds the file or folder; empty for the root.
std::string ParentOf(const std::string& path)
{
    const std::size_t cut = path.rfind('\\');
    return cut == std::string::npos ? "" : path.substr(0, cut);
}

// True if a launcher takes this digest of the file that the old list has with that one. It never takes one in
// capitals, whatever a list says.
bool IsDigestOf(const std::string& digest, const std::string& oldDigest)
{
    std::string taken = oldDigest;
    return Equals(digest, ToLower(taken));
}

// Follows the launcher's steps through a tree that is as `old` says.
class Update
{
public:
    Update(const PublishedList& oldList, const PublishedList& newList)
        : old(oldList.content), now(newList.content), newSizes(newList.sizes)
    {
    }

    Comparison Run()
    {
        FindOldPlaces();
        FindDeletedFolders();
        FindDeletedFiles();
        FindFetched();
        RemarkOnCase();
        RemarkOnKind();
        RemarkOnLosses();
        RemarkOnAmounts();
        return std::move(result);
    }

private:
    void FindOldPlaces();
    void FindDeletedFolders();
    void FindDeletedFiles();
    void FindFetched();
    void RemarkOnCase();
    void RemarkOnKind();
    void RemarkOnLosses();
    void RemarkOnAmounts();

    // The launcher never fetches such a file, so that no player has it.
    static bool IsNeverFetched(const std::string& path)
    {
        return Contains(path, ListFileName);
    }

    bool IsGone(const std::string& folder) const
    {
        return !gone.empty() && gone.count(folder) != 0;
    }

    void Hurt(const std::string& path, const std::string& reason)
    {
        result.remarks.push_back(Remark(path, reason));
        result.hurts = true;
    }

    const ContentList& old;
    const ContentList& now;
    const std::vector<std::int64_t>& newSizes;
    Comparison result;

    std::vector<std::size_t> oldPlaces; // of the file in the old list, for each of the new one; or NoPlace
    std::vector<std::string> lostFiles; // of the old list, that the new one does not name
    Names emptied;                      // folders that a start removes with all that is in them
    Names gone;                         // these and all below them
    std::int64_t totalBytes = 0;        // of the new list
};

void Update::FindOldPlaces()
{
    std::unordered_map<std::string_view, std::size_t> places;
    places.reserve(old.fileNames.size());
    for (std::size_t i = 0; i < old.fileNames.size(); ++i)
        places.emplace(old.fileNames[i], i);

    std::vector<bool> kept(old.fileNames.size());
    std::size_t next = 0; // where the file stands in the old list if both have the same order
    for (const std::string& file : now.fileNames) {
        if (next >= old.fileNames.size() || !Equals(old.fileNames[next], file)) {
            const auto found = places.find(file);
            if (found == places.end()) {
                oldPlaces.push_back(NoPlace);
                continue;
            }
            next = found->second;
        }
        kept[next] = true;
        oldPlaces.push_back(next++);
    }
    for (std::size_t i = 0; i < kept.size(); ++i) {
        // A list can name a file twice.
        if (!kept[i] && now.fileNameIndex.count(old.fileNames[i]) == 0 && places[old.fileNames[i]] == i)
            lostFiles.push_back(old.fileNames[i]);
    }
}

// A folder is removed if a file lies directly in it and the new list does not name it. The launcher takes a
// path without any dot for a folder's.
void Update::FindDeletedFolders()
{
    Names folders(old.directories.begin(), old.directories.end());
    std::string last; // the folder of the file before
    for (const std::string& file : old.fileNames) {
        std::string folder = ParentOf(file);
        if (folder.empty() || Equals(folder, last) || !Contains(file, ".") || IsNeverFetched(file))
            continue;
        folders.insert(folder);
        if (SparedFolderIn(folder) == nullptr && now.directoryIndex.count(folder) == 0)
            emptied.insert(folder);
        last = std::move(folder);
    }
    for (const std::string& folder : folders) {
        std::string above = folder;
        while (!above.empty() && emptied.count(above) == 0)
            above = ParentOf(above);
        if (!above.empty())
            gone.insert(folder);
    }
    result.deletedFolders = gone.size();
}

void Update::FindDeletedFiles()
{
    Names deleted;
    for (const std::string& file : lostFiles) {
        if (!IsNeverFetched(file) && SparedFolderIn(file) == nullptr && SparedNameIn(file) == nullptr)
            deleted.insert(file);
    }
    if (!gone.empty()) {
        for (const std::string& file : old.fileNames) {
            if (!IsNeverFetched(file) && IsGone(ParentOf(file)))
                deleted.insert(file);
        }
    }
    result.deletedFiles = deleted.size();
}

void Update::FindFetched()
{
    const std::string launcher = std::string(LauncherFolder) + "\\" + LauncherFileName;
    for (std::size_t i = 0; i < now.fileNames.size(); ++i) {
        const std::string& path = now.fileNames[i];
        totalBytes += newSizes[i];
        const bool isThere = oldPlaces[i] != NoPlace && !(IsGone(ParentOf(path)));
        if (IsNeverFetched(path) ||
            IsDigestOf(now.fileDigests[i], isThere ? old.fileDigests[oldPlaces[i]] : ""))
            continue;
        ++result.fetchedFiles;
        result.fetchedBytes += newSizes[i];
        result.largest.push_back({path, newSizes[i]});
        result.restarts = result.restarts || Equals(path, launcher);
    }
    const std::size_t shown = std::min(LargestShown, result.largest.size());
    std::partial_sort(result.largest.begin(), result.largest.begin() + static_cast<std::ptrdiff_t>(shown),
                      result.largest.end(), [](const FetchedFile& a, const FetchedFile& b) {
                          return a.size != b.size ? a.size > b.size : a.path < b.path;
                      });
    result.largest.resize(shown);
}

void Update::RemarkOnCase()
{
    std::unordered_map<std::string, std::string> lost; // old names by what they are without their case
    for (const std::string& folder : old.directories) {
        if (now.directoryIndex.count(folder) == 0)
            lost.emplace(WithoutCase(folder), folder);
    }
    for (const std::string& folder : now.directories) {
        const std::string parent = ParentOf(folder);
        // The folders below one that is renamed need no line of their own.
        if (lost.empty() || old.directoryIndex.count(folder) != 0 ||
            (!parent.empty() && old.directoryIndex.count(parent) == 0))
            continue;
        const auto found = lost.find(WithoutCase(folder));
        if (found == lost.end())
            continue;
        const std::string change = "the name of this folder changes only in case, from " + found->second;
        if (emptied.count(found->second) != 0)
            Hurt(folder, change + ": players lose what is in it and get it on the second start");
        else
            Hurt(folder, change +
                             ": no file lies directly in it, so it keeps the old name on Windows, and "
                             "players lose what is below it on every other start");
    }

    lost.clear();
    for (const std::string& file : lostFiles)
        lost.emplace(WithoutCase(file), file);
    for (std::size_t i = 0; i < now.fileNames.size(); ++i) {
        if (lost.empty() || oldPlaces[i] != NoPlace)
            continue;
        const auto found = lost.find(WithoutCase(now.fileNames[i]));
        if (found != lost.end() && Equals(ParentOf(found->second), ParentOf(now.fileNames[i])))
            Hurt(now.fileNames[i], "the name of this file changes only in case, from " + found->second +
                                       ": players lose it, and get it only if the update ends well");
    }
}

void Update::RemarkOnKind()
{
    for (const std::string& folder : now.directories) {
        if (old.fileNameIndex.count(folder) != 0)
            Hurt(folder, "a file becomes a folder: players who have it open get nothing of the folder");
    }
    for (std::size_t i = 0; i < now.fileNames.size(); ++i) {
        const std::string& file = now.fileNames[i];
        if (oldPlaces[i] != NoPlace || old.directoryIndex.count(file) == 0)
            continue;
        if (emptied.count(file) != 0)
            Hurt(file, "a folder becomes a file: players who have a file of the folder open don't get it");
        else
            Hurt(file,
                 "a folder becomes a file: no file lies directly in the folder, so the launcher does not "
                 "remove it, and every update fails");
    }
}

void Update::RemarkOnLosses()
{
    const std::pair<const char*, std::string> programs[] = {
        {"launcher", std::string(LauncherFolder) + "\\" + LauncherFileName},
        {"game", GameFolder + "\\" + GameFileName}};
    for (const auto& [what, path] : programs) {
        if (old.fileNameIndex.count(path) != 0 && now.fileNameIndex.count(path) == 0)
            Hurt(path, std::string("no longer named: players lose the ") + what);
    }

    const std::string top = std::string(TopFolder) + "\\";
    std::vector<std::string> besides; // the few files beside the folder that holds nearly all
    for (const std::string& file : old.fileNames) {
        if (file.compare(0, top.size(), top) != 0)
            besides.push_back(file);
    }
    Names said;
    for (const std::string& file : besides.empty() ? besides : ForeignFiles(besides, now)) {
        const std::string folder = TopComponent(file);
        if (said.insert(folder).second)
            Hurt(folder, "no longer named, and held " + file +
                             ": launchers take it for somebody else's and " +
                             "refuse the update. Keep an empty folder of that name in the tree");
    }
}

void Update::RemarkOnAmounts()
{
    if (result.fetchedBytes >= CounterLimit) {
        result.remarks.emplace_back("2 GiB or more are fetched: the launcher's amounts and bar are wrong");
        result.hurts = true;
    }
    if (result.fetchedBytes * 2 > totalBytes)
        result.remarks.emplace_back("More than half of the game is fetched anew: is that meant?");
    const bool makesFolder =
        std::any_of(now.directories.begin(), now.directories.end(),
                    [this](const std::string& folder) { return old.directoryIndex.count(folder) == 0; });
    if (result.fetchedFiles + result.deletedFiles + result.deletedFolders == 0 && !makesFolder)
        result.remarks.emplace_back("Nothing changes: are these the lists that are meant?");
}

std::string SizeText(std::int64_t bytes)
{
    constexpr std::array<const char*, 4> Units = {"bytes", "KiB", "MiB", "GiB"};
    std::size_t unit = 0;
    double shown = static_cast<double>(bytes);
    for (; shown >= 1024 && unit + 1 < Units.size(); ++unit)
        shown /= 1024;
    std::array<char, 40> text;
    std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f" : "%.1f", shown);
    return std::string(text.data()) + " " + Units[unit];
}
} // namespace

Comparison CompareLists(const PublishedList& old, const PublishedList& now)
{
    return Update(old, now).Run();
}

std::string ReportText(const Comparison& comparison, double rate)
{
    std::string text = "fetched: " + Count(comparison.fetchedFiles, "file") + ", " +
                       GroupDigits(std::to_string(comparison.fetchedBytes)) + " bytes";
    if (comparison.fetchedBytes >= 1024)
        text += " (" + SizeText(comparison.fetchedBytes) + ")";
    text += "\ndeleted: " + Count(comparison.deletedFiles, "file") + ", " +
            Count(comparison.deletedFolders, "folder") +
            "\nthe launcher restarts: " + (comparison.restarts ? "yes, its own executable changes" : "no") +
            "\n";
    if (rate > 0)
        text += "time: " + DurationText(static_cast<double>(comparison.fetchedBytes) * 8 / (rate * 1e6)) +
                " at " + FloatText(static_cast<float>(rate)) + " Mbit/s\n";
    if (!comparison.largest.empty())
        text += "the largest:\n";
    for (const FetchedFile& file : comparison.largest)
        text += "  " + Remark(file.path, SizeText(file.size)) + "\n";
    for (const std::string& remark : comparison.remarks)
        text += remark + "\n";
    return text;
}
