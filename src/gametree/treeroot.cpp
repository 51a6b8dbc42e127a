#include "gametree/treeroot.h"

#include <algorithm>

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStringList>

#include "helpers/text.h"
#include "platform/platform.h"

namespace {
// "C:", "\\server\share" and what stands above them.
bool IsDriveRoot(const std::string& root)
{
    const bool share = root.compare(0, 2, "\\\\") == 0;
    return share ? std::count(root.begin(), root.end(), '\\') <= 3 : !Contains(root, "\\");
}

// A path that can be compared with others: forward slashes, lower case, a closing slash.
QString Comparable(const QString& path)
{
    const QString clean = QDir::cleanPath(QDir::fromNativeSeparators(path)).toLower();
    return clean.endsWith(QLatin1Char('/')) ? clean : clean + QLatin1Char('/');
}

// The comparable path with its links resolved; empty if there is no such folder.
QString ComparableTarget(const QString& path)
{
    const QString target = QFileInfo(path).canonicalFilePath();
    return target.isEmpty() ? QString() : Comparable(target);
}

bool IsOnShare(const QString& comparable)
{
    return comparable.startsWith(QLatin1String("//"));
}

// The folders that hold other things than the game. Those that Qt names after the running program are left
// out: a player may well keep the game there.
QStringList OtherFolders()
{
    using Paths = QStandardPaths;
    QStringList folders = {QDir::homePath(), QDir::tempPath()};
    for (const auto location :
         {Paths::DesktopLocation, Paths::DocumentsLocation, Paths::FontsLocation, Paths::ApplicationsLocation,
          Paths::MusicLocation, Paths::MoviesLocation, Paths::PicturesLocation, Paths::DownloadLocation,
          Paths::GenericDataLocation, Paths::GenericCacheLocation, Paths::GenericConfigLocation})
        folders += Paths::writableLocation(location);
    for (const std::string& folder : SystemFolders())
        folders += QString::fromLocal8Bit(folder.c_str());
    return folders;
}
} // namespace

bool IsSafeTreeRoot(const std::string& root)
{
    if (root.empty() || IsDriveRoot(root))
        return false;

    const QString path = QString::fromLocal8Bit(NativePath(root).c_str());
    const QStringList folders = OtherFolders();
    const auto noneIsIn = [&folders](const QString& holder) {
        return std::none_of(folders.begin(), folders.end(), [&holder](const QString& folder) {
            return Comparable(folder).startsWith(holder);
        });
    };
    if (!noneIsIn(Comparable(path)))
        return false;

    const QString target = ComparableTarget(path);
    if (target.isEmpty() || !noneIsIn(target))
        return false;
    return std::none_of(folders.begin(), folders.end(), [&target](const QString& folder) {
        // A folder on a share can't lie on a local disk. It is not asked for: its server may not answer.
        const bool elsewhere = IsOnShare(Comparable(folder)) && !IsOnShare(target);
        return !elsewhere && ComparableTarget(folder).startsWith(target);
    });
}
