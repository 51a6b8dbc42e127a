#include "gametree/treeroot.h"

#include <algorithm>

#include <QDir>
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

// The same of a path in the form of TreeRoot.
QString Comparable(const std::string& path)
{
    return Comparable(QString::fromLocal8Bit(NativePath(path).c_str()));
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

    const QStringList folders = OtherFolders();
    const auto noneIsIn = [&folders](const QString& holder) {
        return std::none_of(folders.begin(), folders.end(), [&holder](const QString& folder) {
            return Comparable(folder).startsWith(holder);
        });
    };
    if (!noneIsIn(Comparable(root)))
        return false;

    // Once more with what the system itself calls the folders.
    const std::string finalRoot = FinalPath(root);
    if (IsDriveRoot(finalRoot)) // or it can't be had
        return false;
    const QString target = Comparable(finalRoot);
    if (!noneIsIn(target))
        return false;
    return std::none_of(folders.begin(), folders.end(), [&target](const QString& folder) {
        // A folder on a share can't lie on a local disk. It is not asked for: its server may not answer.
        if (IsOnShare(Comparable(folder)) && !IsOnShare(target))
            return false;
        const std::string path = QDir::toNativeSeparators(folder).toLocal8Bit().toStdString();
        return Comparable(FinalPath(path)).startsWith(target);
    });
}

bool IsReadAlike(const std::string& root)
{
    const QByteArray bytes = QByteArray::fromStdString(root);
    return QString::fromUtf8(bytes).toLocal8Bit() == bytes;
}
