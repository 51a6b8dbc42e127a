// Random trees and random lists. A model of the update, written apart from it, says what must then stand on
// the disk, in the queue and in the log. TREE_SEED=N in the environment plays the round of that seed alone.
#include <random>
#include <set>

#include "gametree/filelist.h"
#include "support/testmain.h"
#include "support/windowundertest.h"

namespace {
using Paths = std::vector<std::string>;

const Paths spared = {"LAUNCHER_TEMP_EXE_FOLDER", "unins000.exe", "unins000.dat", "engineLog.txt",
                      "webBrowserLog.txt"};
const Paths foreign = {"a.exe", "B.EXE", "c.lnk", "d.doc", "e.docx", "f.xls", "g.Xlsx", "h.pdf"};

bool Holds(const std::string& text, const Paths& names)
{
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& name) { return text.find(name) != std::string::npos; });
}

std::string With(char slash, std::string path)
{
    std::replace(path.begin(), path.end(), slash == '/' ? '\\' : '/', slash);
    return path;
}

// Updates the tree to the list. Returns the lines of the log, and one for each file in the queue.
QStringList Model(Tree& disk, const ContentList& list, bool gameRuns)
{
    QStringList known = {"game"};
    for (const auto* paths : {&list.directories, &list.fileNames})
        for (const std::string& path : *paths)
            known += QString(With('\\', path).c_str()).section('\\', 0, 0).toLower();
    const std::set<std::string> listedFiles(list.fileNames.begin(), list.fileNames.end());
    const std::set<std::string> listedFolders(list.directories.begin(), list.directories.end());
    Paths files; // with backslashes
    for (const auto& [path, content] : disk) {
        const QString file = With('\\', path).c_str(), folder = file.section('\\', 0, 0);
        if (Holds(path, foreign) && !Holds(path, spared) && folder != file &&
            !known.contains(folder.toLower()))
            return {"Refusing to update: the folder \"ROOT\\" + folder +
                    "\" is not the game's, and an update would delete \"" + file + "\" in it"};
        if (!file.endsWith('\\'))
            files.push_back(file.toStdString());
    }

    Tree after = disk;
    QStringList lines = {"Deleting files and directories that are not in the list"};
    const auto exists = [&](const std::string& path) { return after.count(path) || after.count(path + "/"); };
    for (const std::string& file : files) {
        if (!listedFiles.count(file) && !Holds(file, spared)) {
            after.erase(With('/', file));
            lines += ("Deleted file: " + file).c_str();
        }
    }
    for (const std::string& folder : list.directories) {
        const std::string path = With('/', folder), above = path.substr(0, path.rfind('/') + 1);
        if (exists(path))
            continue;
        if (above.empty() || after.count(above)) // one level at a time
            after[path + "/"];
        lines += ("Created directory: ROOT\\" + folder).c_str();
    }
    for (const std::string& file : files) {
        const bool hasDot = file.find('.') != std::string::npos;
        const bool standsInRoot = hasDot && file.find('\\') == std::string::npos;
        const std::string folder = hasDot ? file.substr(0, file.rfind('\\')) : file, path = With('/', folder);
        if (!standsInRoot && !Holds(folder, {spared[0]}) && !listedFolders.count(folder) && exists(path)) {
            // "0" is the character after "/".
            after.erase(after.lower_bound(path + "/"), after.lower_bound(path + "0"));
            lines += ("Directory deleted: " + folder).c_str();
        }
    }
    if (gameRuns && lines.size() > 1)
        return lines.mid(0, 1);

    lines += "Initializing files to download";
    const QStringList blocked = lines;
    std::uint32_t bytes = 0;
    for (std::size_t i = 0; i < list.fileNames.size(); ++i) {
        const std::string path = With('/', list.fileNames[i]);
        const auto found = after.find(path);
        const std::string digest = found != after.end() ? Sha256Of(found->second) : "";
        if (list.fileDigests[i] != digest && !Holds(path, {"List.txt"})) {
            lines += ("queued: " + path).c_str();
            bytes += static_cast<std::uint32_t>(list.fileSizes[i]);
        }
    }
    if (gameRuns && bytes > 0)
        return blocked;
    disk = after;
    return lines += QString("%1 bytes").arg(bytes);
}

std::mt19937 dice;

std::string OneOf(const Paths& choices)
{
    return choices[dice() % choices.size()];
}

// Few names, so that tree and list often mean the same path.
std::string SomeFolder()
{
    return OneOf({"a.b", IsWindows ? "a.b" : "A.b", "Öffent.lich", "Game/.Data 1", "Other/engineLog.txt",
                  "Other/LAUNCHER_TEMP_EXE_FOLDER"});
}

std::string SomeFile()
{
    return (dice() % 4 == 0 ? "" : SomeFolder() + "/") +
           OneOf({"a.map", "plain", "MyList.txt.x", "unins000.exe", "WEBBROWSERLOG.TXT",
                  IsWindows ? "a.map" : "A.map"});
}

// Plays the round of a seed and tells what is not as the model says.
QString DifferencesInRound(WindowUnderTest& test, unsigned seed)
{
    dice.seed(seed);
    Tree installed = {{test.launcherFolder + "/", ""}};
    for (unsigned count = dice() % 12; count > 0; --count)
        installed[dice() % 5 == 0 ? SomeFolder() + "/empty/" : SomeFile()] = OneOf({"", "old", "new"});
    if (dice() % 4 == 0)
        installed[OneOf({"", SomeFolder() + "/"}) + OneOf(foreign)] = "";
    const std::string root = test.tree.Root();
    if (!QDir::setCurrent(QDir::tempPath()) || !QDir(root.c_str()).removeRecursively() ||
        !WriteTree(root, installed) || !QDir::setCurrent(test.tree.Path(test.launcherFolder).c_str()))
        return "The tree can't be made.";

    ContentList list;
    std::string text;
    for (unsigned count = dice() % 10; count > 0; --count) {
        list.AddDirectory(With('\\', dice() % 9 == 0 ? SomeFile() : SomeFolder()));
        text += "D#" + list.directories.back() + "\n";
    }
    for (unsigned count = dice() % 15 + 1; count > 0; --count) {
        const FileEntry file = {With(dice() % 15 == 0 ? '/' : '\\', SomeFile()),
                                static_cast<std::int32_t>(dice()), Sha256Of(OneOf({"", "old", "new"}))};
        list.AddFile(file);
        text += "F#" + file.path + "#" + std::to_string(file.size) + "#" + file.digest + "\n";
    }
    MainWindow& window = *test.window;
    window.gameProcessRunning = dice() % 4 == 0;
    Tree disk = TreeOf(root);
    QStringList expected = Model(disk, list, window.gameProcessRunning);
    const std::size_t records = list.directories.size() + list.fileNames.size();
    expected +=
        {QString("List of files loaded with %1 elements").arg(records), "Deleted temporary list file"};

    window.logModel->setStringList({});
    window.fileQueue.clear();
    window.totalBytes = 0;
    updateState = UpdateState::FetchingList;
    QStringList lines;
    if (test.Process(text))
        lines += QString("%1 bytes").arg(static_cast<std::uint32_t>(window.totalBytes));
    for (const QString& line : test.Shows().mid(5))
        lines += line.section(". Give", 0, 0);
    for (const std::string& path : window.fileQueue)
        lines += ("queued: " + path).c_str();
    lines.sort();
    expected.sort();
    return Differences(lines, expected) + Differences(TreeOf(root), disk);
}
} // namespace

class RandomTreeTest : public QObject
{
    Q_OBJECT

private slots:
    void anUpdateDoesWhatItsModelSays()
    {
        WindowUnderTest test; // one for all rounds: it takes its time
        test.OpenStill().pendingLogLines.clear();
        const QByteArray chosen = qgetenv("TREE_SEED");
        std::random_device fresh;
        for (unsigned round = 0; round < (chosen.isEmpty() ? 300 : 1); ++round) {
            const unsigned seed = !chosen.isEmpty() ? chosen.toUInt() : round < 150 ? round : fresh();
            const QString differences = DifferencesInRound(test, seed);
            QVERIFY2(differences.isEmpty(), qPrintable(QString("TREE_SEED=%1").arg(seed) + differences));
        }
    }
};

QTEST_MAIN(RandomTreeTest)
#include "randomtree_test.moc"
