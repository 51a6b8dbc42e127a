#include "makelist/rules.h"

#include <algorithm>
#include <unordered_map>

#include <QString>

#include "console/listfile.h"
#include "console/wording.h"
#include "gametree/address.h"
#include "gametree/layout.h"
#include "gametree/listedpath.h"
#include "gametree/strings.h"
#include "helpers/text.h"
#include "helpers/wrapping.h"

namespace {
// The part of the path for which the launcher spares the file, or the empty text.
std::string SparedFor(const std::string& path)
{
    const char* part = SparedFolderIn(path);
    if (part == nullptr)
        part = SparedNameIn(path);
    return part != nullptr ? part : "";
}

bool IsInTemporaryFolder(const std::string& path)
{
    const std::string start = std::string(LauncherFolder) + "\\" + tempFolderStem;
    const std::size_t end = path.find_first_not_of("0123456789", start.size());
    return path.compare(0, start.size(), start) == 0 && end != start.size() && end != std::string::npos &&
           path[end] == '\\';
}

// Bytes. Windows and the launcher take 259 for a whole path. The longest root that the setup program takes
// has 140, and a backslash follows it.
constexpr std::size_t LongestPath = 259 - 140 - 1;

std::string LastName(const std::string& path)
{
    return path.substr(path.rfind('\\') + 1); // npos + 1 is 0
}

bool IsAscii(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), [](unsigned char c) { return c < 0x80; });
}

bool HasControlCharacter(const std::string& text)
{
    return std::any_of(text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; });
}
} // namespace

bool IsLeftOut(const std::string& path)
{
    return IsListItself(path) || !SparedFor(path).empty();
}

void CheckLeftOut(const std::string& path, Remarks& remarks)
{
    const std::string part = SparedFor(path);
    const std::string name = LastName(path);
    if (!part.empty() && !Equals(name, part) && !IsInTemporaryFolder(path))
        remarks.warnings.push_back(
            Remark(path, "left out, since the launcher deletes no file whose path holds \"" + part + "\""));
}

void CheckName(const std::string& path, Remarks& remarks)
{
    const std::string name = LastName(path);
    if (Contains(name, "#"))
        remarks.errors.push_back(Remark(path, "a name with \"#\", which separates the fields of a list"));
    if (HasControlCharacter(name))
        remarks.errors.push_back(Remark(path, "a name with a line end or another control character"));
    if (QString::fromUtf8(name.c_str()).toUtf8().toStdString() != name)
        remarks.errors.push_back(Remark(path, "a name that is not UTF-8, which the launcher can't ask for"));
    else if (!IsAscii(name))
        remarks.warnings.push_back(Remark(path, "a name outside ASCII needs Windows 10 1903 or later"));

    if (!StaysInTree(name))
        remarks.errors.push_back(Remark(
            path, "a name that leads elsewhere on Windows: every launcher would refuse the whole list"));
    else if (name.find_first_of("<>\"|?*") != std::string::npos)
        remarks.warnings.push_back(Remark(path, "Windows can't hold a name with any of < > \" | ? *"));
    else if (!name.empty() && (name.back() == '.' || name.back() == ' '))
        remarks.warnings.push_back(Remark(path, "Windows drops the dot or blank at the end of a name"));
}

void CheckFile(const std::string& path, std::int64_t size, Remarks& remarks)
{
    if (path.find_first_of("?%") != std::string::npos && !AddressKeepsPath(updateServerUrl, path))
        remarks.warnings.push_back(Remark(
            path, "\"?\" or \"%\" means something else in an address: the launcher asks for another file"));
    if (path.size() > LongestPath)
        remarks.warnings.push_back(Remark(
            path, std::to_string(path.size()) + " bytes long: in the longest folder that setup takes, only " +
                      std::to_string(LongestPath) + " can be written"));
    if (!Contains(path, "."))
        remarks.warnings.push_back(
            Remark(path, "no dot in the whole path: a running game then stops every update"));
    if (Contains(path, ListFileName))
        remarks.warnings.push_back(Remark(path, "a path that holds \"List.txt\" is never fetched"));
    if (size >= CounterLimit)
        remarks.warnings.push_back(Remark(path, "2 GiB or more: the launcher's amounts and bar are wrong"));
}

void CheckList(const std::set<std::string>& directories, const std::set<std::string>& files,
               std::int64_t totalSize, Remarks& remarks)
{
    std::unordered_map<std::string, std::string> namesByFoldedName;
    for (const std::set<std::string>* names : {&directories, &files}) {
        for (const std::string& name : *names) {
            const auto [first, isNew] = namesByFoldedName.emplace(WithoutCase(name), name);
            if (!isNew)
                remarks.warnings.push_back(Remark(
                    name, "differs only in case from " + first->second + ": Windows holds one of them"));
        }
    }

    for (const std::string& program :
         {std::string(LauncherFolder) + "\\" + LauncherFileName, GameFolder + "\\" + GameFileName}) {
        if (files.count(program) == 0)
            remarks.warnings.push_back(Remark(program, "not in the tree: players who have it lose it"));
    }
    if (totalSize >= CounterLimit)
        remarks.warnings.emplace_back(
            "All files together have 2 GiB or more: a player who fetches them all sees wrong amounts");
    if (files.empty())
        remarks.errors.emplace_back(
            "There is nothing to publish: the launcher refuses a list without a file");
}
