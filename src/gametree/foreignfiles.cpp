#include "gametree/foreignfiles.h"

#include <QSet>
#include <QString>

#include "gametree/layout.h"
#include "helpers/text.h"

namespace {
// The root's folder in which the path lies, as it can be compared without regard to case.
QString TopFolderKey(const std::string& path)
{
    return QString::fromLocal8Bit(TopComponent(path).c_str()).toCaseFolded();
}
} // namespace

std::vector<std::string> ForeignFiles(const std::vector<std::string>& entries, const ContentList& content)
{
    QSet<QString> gameFolders = {TopFolderKey(TopFolder)};
    for (const std::vector<std::string>* paths : {&content.directories, &content.fileNames}) {
        for (const std::string& path : *paths)
            gameFolders += TopFolderKey(path);
    }

    std::vector<std::string> foreign;
    for (const std::string& entry : entries) {
        // The ending first, since it costs least: a tree can have many files.
        if (IsProgramOrPaper(entry) && Contains(entry, "\\") && !SparedFolderIn(entry) &&
            !SparedNameIn(entry) && !gameFolders.contains(TopFolderKey(entry)))
            foreign.push_back(entry);
    }
    return foreign;
}
