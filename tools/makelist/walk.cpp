#include "makelist/walk.h"

#include <algorithm>
#include <cerrno>

#include <QFileInfo>
#include <QRegularExpression>

#include "console/wording.h"
#include "helpers/files.h"
#include "helpers/text.h"
#include "platform/platform.h"

namespace fs = std::filesystem;

namespace {
// The file that the list goes to, with links resolved, or an empty path.
fs::path ResolvedOutput(const std::string& output)
{
    if (output.empty())
        return {};
    const QFileInfo file(QString::fromStdString(output));
    const QString path = file.exists() ? file.canonicalFilePath() : file.absoluteFilePath();
    return fs::u8path(path.toStdString());
}

// True for the file in the same folder that the list is first written to.
bool IsUnfinishedOutput(const std::string& name, const std::string& outputName)
{
    const std::string start = outputName + ".";
    static const QRegularExpression madeUp("^[A-Za-z0-9]{6}$");
    return name.compare(0, start.size(), start) == 0 &&
           madeUp.match(QString::fromStdString(name.substr(start.size()))).hasMatch();
}

std::string CantBeRead(const std::error_code& error)
{
    return "can't be read (" + error.message() + ")";
}

// Goes through one tree. Unlike the launcher's own walk, it reports what is neither a file nor a directory,
// and what can't be read.
struct Walk
{
    const fs::path& output; // with links resolved, or empty
    FoundTree& found;
    Remarks& remarks;
    std::vector<fs::path> entered = {}; // the folders from the root down to the current one

    // `relative` is empty or ends in a backslash.
    std::error_code Enter(const fs::path& folder, const std::string& relative)
    {
        std::error_code error;
        entered.push_back(folder);
        // By name, so that the remarks come in the same order on every disk.
        std::vector<fs::directory_entry> entries;
        for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
             entry.increment(error))
            entries.push_back(*entry);
        std::sort(entries.begin(), entries.end(),
                  [](const auto& a, const auto& b) { return a.path().native() < b.path().native(); });
        for (const fs::directory_entry& entry : entries)
            Visit(entry, relative);
        entered.pop_back();
        return error;
    }

    // True for a folder that is being walked, which the launcher would enter again and again. Not only links
    // lead there: a junction of Windows is none to the standard library.
    bool HasEntered(const fs::path& folder) const
    {
        return std::any_of(entered.begin(), entered.end(), [&folder](const fs::path& above) {
            std::error_code error; // also means that they are not the same
            return fs::equivalent(above, folder, error);
        });
    }

    void Visit(const fs::directory_entry& entry, const std::string& relative)
    {
        const std::string name = entry.path().filename().u8string();
        const std::string path = relative + name;
        std::error_code error;
        const fs::file_status status = entry.status(error);
        if (Contains(name, "\\")) {
            remarks.errors.push_back(Remark(path, "a name with \"\\\", which separates folders"));
        } else if (fs::is_directory(status) && HasEntered(entry.path())) {
            remarks.errors.push_back(Remark(path, "a link to a folder above it: the tree has no end"));
        } else if (fs::is_directory(status)) {
            found.directories.insert(path);
            if ((error = Enter(entry.path(), path + "\\")))
                remarks.errors.push_back(Remark(path, CantBeRead(error)));
        } else if (fs::is_regular_file(status)) {
            AddFile(entry, path, name);
        } else if (fs::exists(status) || status.type() == fs::file_type::not_found) {
            remarks.warnings.push_back(Remark(path, "neither a file nor a directory, left out"));
        } else {
            remarks.errors.push_back(Remark(path, CantBeRead(error)));
        }
    }

    void AddFile(const fs::directory_entry& entry, const std::string& path, const std::string& name)
    {
        const std::string outputName = output.filename().u8string();
        const bool unfinished = !output.empty() && IsUnfinishedOutput(name, outputName);
        std::error_code error;
        // The packed list beside it is for the web server.
        const bool isOutput = !output.empty() && (name == outputName || name == outputName + ".gz");
        if ((unfinished || isOutput) &&
            fs::equivalent(entry.path().parent_path(), output.parent_path(), error)) {
            found.leftOut.insert(path);
            if (unfinished)
                remarks.warnings.push_back(
                    Remark(path, "left out: an unfinished file of an earlier make-list"));
            return;
        }
        if (IsLeftOut(path)) {
            found.leftOut.insert(path);
            return;
        }
        errno = 0;
        const FileHandle opened(_fsopen(entry.path().u8string().c_str(), "rb", _SH_DENYNO));
        if (opened == nullptr) {
            remarks.errors.push_back(
                Remark(path, CantBeRead(std::error_code(errno, std::generic_category()))));
            return;
        }
        TreeFile file;
        file.path = path;
        TakeState(opened.get(), file);
        found.files.push_back(std::move(file));
    }
};
} // namespace

std::error_code WalkTree(const fs::path& root, const std::string& output, FoundTree& found, Remarks& remarks)
{
    const fs::path resolved = ResolvedOutput(output);
    return Walk{resolved, found, remarks}.Enter(root, "");
}
