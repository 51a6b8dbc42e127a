#include "gametree/layout.h"

#include <algorithm>

#include "gametree/strings.h"
#include "helpers/files.h"
#include "helpers/paths.h"
#include "helpers/text.h"

bool IsProgramOrPaper(const std::string& path)
{
    for (const std::string ending : ProgramOrPaperEndings) {
        std::string last = path.substr(path.size() - std::min(path.size(), ending.size()));
        if (Equals(ToLower(last), ending))
            return true;
    }
    return false;
}

std::string TopComponent(const std::string& path)
{
    return path.substr(0, path.find_first_of("\\/"));
}

const char* SparedNameIn(const std::string& path)
{
    for (const char* name : SparedNames) {
        if (Contains(path, name))
            return name;
    }
    return nullptr;
}

const char* SparedFolderIn(const std::string& path)
{
    return Contains(path, tempFolderStem) ? tempFolderStem.c_str() : nullptr;
}

bool IsListItself(const std::string& path)
{
    const std::string copysFolder = StripPathComponents(LauncherFolder, 1);
    return Equals(path, ListFileName) || Equals(path, copysFolder + "\\" + ListFileName);
}

std::string TreeRoot()
{
    return StripPathComponents(CurrentDirectory(), LauncherFolderDepth);
}

std::string ListPath()
{
    return parentPrefix + ListFileName;
}
