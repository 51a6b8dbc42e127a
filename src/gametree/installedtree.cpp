#include "gametree/installedtree.h"

#include <algorithm>

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStringList>

#include "helpers/files.h"
#include "helpers/paths.h"
#include "helpers/text.h"
#include "platform/platform.h"
#include "startup/strings.h"

namespace {
// A component that the system could read as "." or "..": Windows drops blanks and dots at a name's end.
bool IsDots(const std::string& component)
{
    return !component.empty() && component.find_first_not_of(". ") == std::string::npos &&
           Contains(component, ".");
}

// A name that means a device in every folder, whatever stands behind its first dot.
bool IsDevice(const std::string& component)
{
    std::string stem = component.substr(0, component.find('.'));
    stem.erase(stem.find_last_not_of(' ') + 1);
    ToLower(stem);
    for (const char* device : {"con", "prn", "aux", "nul", "conin$", "conout$"}) {
        if (Equals(stem, device))
            return true;
    }
    if (!Equals(stem.substr(0, 3), "com") && !Equals(stem.substr(0, 3), "lpt"))
        return false;
    const std::string number = stem.substr(3);
    // The raised digits 1 to 3 count as digits there.
    return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') ||
           ListContains({"\xC2\xB9", "\xC2\xB2", "\xC2\xB3"}, number);
}

// Comparable form of a path: links resolved, forward slashes, lower case, a closing slash.
QString Comparable(const QString& path)
{
    const QString resolved = QFileInfo(path).canonicalFilePath();
    const QString clean =
        QDir::cleanPath(QDir::fromNativeSeparators(resolved.isEmpty() ? path : resolved)).toLower();
    return clean.endsWith(QLatin1Char('/')) ? clean : clean + QLatin1Char('/');
}

// The folders that hold other things than the game.
QStringList StandardFolders()
{
    QStringList folders = {QDir::homePath(), QDir::tempPath()};
    for (int location = QStandardPaths::DesktopLocation; location <= QStandardPaths::AppConfigLocation;
         ++location) {
        // Only the writable ones: the lists hold the program's own folder on Windows, and asking for the
        // run-time folder creates it.
        if (location != QStandardPaths::RuntimeLocation)
            folders +=
                QStandardPaths::writableLocation(static_cast<QStandardPaths::StandardLocation>(location));
    }

    for (const char* variable :
         {"SystemRoot", "ProgramFiles", "ProgramFiles(x86)", "ProgramW6432", "ProgramData",
          "CommonProgramFiles", "APPDATA", "LOCALAPPDATA", "PUBLIC", "USERPROFILE"})
        folders += qEnvironmentVariable(variable);
    for (const char* folder : {"/etc", "/home", "/opt", "/srv", "/usr", "/var"})
        folders += QString::fromLatin1(folder);
    return folders;
}

// "C:", "\\server\share" and what stands above them.
bool IsDriveRoot(const std::string& root)
{
    const bool share = root.compare(0, 2, "\\\\") == 0;
    return share ? std::count(root.begin(), root.end(), '\\') <= 3 : !Contains(root, "\\");
}
} // namespace

std::string TreeRoot()
{
    return StripPathComponents(CurrentDirectory(), 3);
}

std::string ListPath()
{
    return parentPrefix + "List.txt";
}

bool StaysInTree(const std::string& path)
{
    // A zero byte would end the path for the system, but not for this test.
    if (path.find('\0') != std::string::npos || Contains(path, ":"))
        return false;

    std::string rest = path;
    ReplaceAll(rest, "/", "\\");
    if (!rest.empty() && rest.front() == '\\')
        return false;
    for (std::size_t start = 0, end; start < rest.size(); start = end + 1) {
        end = std::min(rest.find('\\', start), rest.size());
        const std::string component = rest.substr(start, end - start);
        if (IsDots(component) || IsDevice(component))
            return false;
    }
    return true;
}

bool IsRootOfItsOwn(const std::string& root)
{
    if (root.empty() || IsDriveRoot(root))
        return false;

    const QString comparable = Comparable(QString(NativePath(root).c_str()));
    const QStringList folders = StandardFolders();
    return std::none_of(folders.begin(), folders.end(), [&](const QString& folder) {
        return !folder.isEmpty() && Comparable(folder).startsWith(comparable);
    });
}
