#include "support/temporarytree.h"

#include <algorithm>

#include <QDir>
#include <QDirIterator>
#include <QFile>

namespace {
QString ToQt(const std::string& path)
{
    return QString::fromUtf8(path.c_str());
}
} // namespace

Tree TreeOf(const std::string& folder)
{
    Tree tree;
    const QDir root(ToQt(folder));
    QDirIterator it(root.path(), QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        const std::string relative = root.relativeFilePath(it.filePath()).toUtf8().toStdString();
        if (it.fileInfo().isDir() && !it.fileInfo().isSymLink())
            tree[relative + "/"];
        else
            tree[relative] = ReadFile(it.filePath().toUtf8().toStdString());
    }
    return tree;
}

bool WriteTree(const std::string& folder, const Tree& tree)
{
    for (const auto& [relative, content] : tree) {
        const std::string path = folder + "/" + relative;
        const bool written = relative.back() == '/' ? QDir().mkpath(ToQt(path)) : WriteFile(path, content);
        if (!written)
            return false;
    }
    return true;
}

bool WriteFile(const std::string& path, const std::string& content)
{
    if (!QDir().mkpath(QFileInfo(ToQt(path)).path()))
        return false;
    QFile file(ToQt(path));
    return file.open(QIODevice::WriteOnly) &&
           file.write(content.data(), static_cast<qint64>(content.size())) ==
               static_cast<qint64>(content.size());
}

std::string ReadFile(const std::string& path)
{
    QFile file(ToQt(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string("(unreadable)");
}

std::string Readable(const Tree& tree)
{
    std::string text;
    for (const auto& [path, content] : tree)
        text += path + " = " + content.substr(0, 40) + " (" + std::to_string(content.size()) + ")\n";
    return text;
}

TemporaryTree::TemporaryTree() : directory(QDir::tempPath() + QString::fromUtf8("/kachel öl XXXXXX"))
{
    root = QFileInfo(directory.path()).canonicalFilePath().toUtf8().toStdString();
}

TemporaryTree::~TemporaryTree()
{
    // Windows removes no folder that is the current one of a process.
    if (QDir::currentPath().startsWith(ToQt(root)))
        QDir::setCurrent(QDir::tempPath());
}

std::string TemporaryTree::WindowsRoot() const
{
    std::string path = root;
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
}
