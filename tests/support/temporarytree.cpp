#include "support/temporarytree.h"

#include <algorithm>

#include <QtCore>

Tree TreeOf(const std::string& folder)
{
    Tree tree;
    const QDir root(folder.c_str());
    QDirIterator it(root.path(), QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        const std::string relative = root.relativeFilePath(it.filePath()).toStdString();
        if (it.fileInfo().isDir() && !it.fileInfo().isSymLink())
            tree[relative + "/"];
        else
            tree[relative] = ReadFile(it.filePath().toStdString());
    }
    return tree;
}

Tree Files(const std::vector<std::string>& paths)
{
    Tree tree;
    for (const std::string& path : paths)
        tree[path] = path.back() == '/' ? "" : "x";
    return tree;
}

QString Differences(const QStringList& actual, const QStringList& expected)
{
    QString text;
    QStringList missing = expected;
    for (const QString& line : actual)
        text += missing.removeOne(line) ? QString() : "\nleft over: " + line;
    for (const QString& line : missing)
        text += "\nmissing: " + line;
    return text.isEmpty() && actual != expected ? "\nanother order: " + actual.join('\n') : text;
}

QString Differences(const Tree& actual, const Tree& expected)
{
    const auto lines = [](const Tree& tree) {
        QStringList all;
        for (const auto& [path, content] : tree)
            all += QString("%1, %2 bytes: %3").arg(path.c_str()).arg(content.size()).arg(content.c_str());
        return all;
    };
    return Differences(lines(actual), lines(expected));
}

bool WriteTree(const std::string& folder, const Tree& tree)
{
    return std::all_of(tree.begin(), tree.end(), [&](const auto& entry) {
        const std::string path = folder + "/" + entry.first;
        return path.back() == '/' ? QDir().mkpath(path.c_str()) : WriteFile(path, entry.second);
    });
}

bool WriteFile(const std::string& path, const std::string& content)
{
    QFile file(path.c_str());
    return QDir().mkpath(QFileInfo(file).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(QByteArray::fromStdString(content)) == static_cast<qint64>(content.size());
}

std::string ReadFile(const std::string& path)
{
    QFile file(path.c_str());
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "(unreadable)";
}

std::string Sha256Of(const std::string& content)
{
    const QByteArray bytes = QByteArray::fromStdString(content);
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex().toStdString();
}

TemporaryTree::TemporaryTree() : directory(QDir::tempPath() + "/launcher tést XXXXXX") {}

TemporaryTree::~TemporaryTree()
{
    // Windows removes no folder that is the current one of a process.
    if (QDir::currentPath().startsWith(Root().c_str()))
        QDir::setCurrent(QDir::tempPath());
}

std::string TemporaryTree::Root() const
{
    return QFileInfo(directory.path()).canonicalFilePath().toStdString();
}

std::string TemporaryTree::WindowsRoot() const
{
    return QString(Root().c_str()).replace('/', '\\').toStdString();
}

std::string TemporaryTree::Path(const std::string& relative) const
{
    return Root() + "/" + relative;
}
