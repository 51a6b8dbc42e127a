// The facts about the game tree, each in this one place: what its folders and files are called, how deep they
// lie and which files no update touches. The launcher and the publisher's tools take them from here.
//
// Paths are relative to the tree's root, with backslashes and without a closing one. The stem of the
// temporary folders' names stands with the process-wide strings (gametree/strings.h).
#pragma once

#include <string>

// Where the installed launcher stands, in the spelling of paths on disk.
constexpr char LauncherFolder[] = "Game\\TessaloomLauncher\\Release";
// Levels from the launcher's folder up to the root.
constexpr int LauncherFolderDepth = 3;
// Levels from a temporary folder up to the launcher's folder.
constexpr int TemporaryFolderDepth = 1;
// The executable, as it is installed, copied and started.
constexpr char LauncherFileName[] = "TessaloomLauncher.exe";
// The folder of Qt's platform plugin, below the launcher's.
constexpr char PluginFolderName[] = "platforms";

// The top-level folder that holds the launcher and the game.
constexpr char TopFolder[] = "Game";
// Levels from the launcher's folder up to it.
constexpr int DepthBelowTopFolder = LauncherFolderDepth - 1;
// From there, where the game stands and is started.
constexpr char GameFolderBelowTop[] = "Tessaloom\\Code\\Current\\Release";
inline const std::string GameFolder = std::string(TopFolder) + "\\" + GameFolderBelowTop;
constexpr char GameFileName[] = "Tessaloom.exe";
// The part of the game's name by which a process counts as the game's.
constexpr char GameName[] = "Tessaloom";

// The published list. A path that holds this name anywhere is never fetched.
constexpr char ListFileName[] = "List.txt";

// Files of the installer and of the game's own run: a path that holds one of these names anywhere is never
// deleted as unlisted, and therefore never published.
constexpr const char* SparedNames[] = {"unins000.exe", "unins000.dat", "engineLog.txt", "webBrowserLog.txt"};

// How the files end by which a folder shows that it is somebody's: programs, their shortcuts, and papers. In
// lower case.
constexpr const char* ProgramOrPaperEndings[] = {".exe", ".lnk", ".doc", ".docx", ".xls", ".xlsx", ".pdf"};

// True if the path ends in one of ProgramOrPaperEndings, in any case.
bool IsProgramOrPaper(const std::string& path);

// The first component of a relative path. Both slash kinds separate.
std::string TopComponent(const std::string& path);

// The first of SparedNames that `path` holds, or null.
const char* SparedNameIn(const std::string& path);

// The part of `path` for which an update deletes neither a folder of this path nor a file, except with an
// unlisted folder above it; or null. Only the stem of the temporary folders' names is such a part.
const char* SparedFolderIn(const std::string& path);

// True for the published list, in the two places that it may have: in the root, where the publisher keeps it,
// and where the launcher puts its local file.
bool IsListItself(const std::string& path);

// The root of the game tree: the current directory, which is the launcher's folder, without its last three
// components. Without a closing separator; empty if the path has too few components.
std::string TreeRoot();

// The launcher's copy of the list, relative to the current directory: one level above the launcher's folder.
std::string ListPath();
