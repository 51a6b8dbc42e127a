#include "gametree/layout.h"

#include "gametree/strings.h"
#include "helpers/files.h"
#include "helpers/paths.h"
#include "helpers/text.h"

const char* SparedNameIn(const std::string& path)
{
    for (const char* name : SparedNames) {
        if (Contains(path, name))
            return name;
    }
    return nullptr;
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
