// Random trees and random lists. A model of the update, written apart from it, says what must then stand on
// the disk, in the queue and in the log. TREE_SEED=N in the environment plays the round of that seed alone.
#include <filesystem>
#include <memory>
#include <random>
#include <set>

#include "support/testmain.h"
#include "support/windowundertest.h"

namespace {
using Paths = std::vector<std::string>;

// A line of the list. A folder's has neither size nor digest.
struct Record
{
    bool isFolder;
    std::string path;
    std::int64_t size;
    std::string digest;
};

std::string Slashed(std::string path)
{
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

bool Holds(const std::string& text, const Paths& names)
{
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& name) { return text.find(name) != std::string::npos; });
}

const Paths temporary = {"LAUNCHER_TEMP_EXE_FOLDER"};
const Paths spared = {temporary[0], "unins000.exe", "unins000.dat", "engineLog.txt", "webBrowserLog.txt"};

// A program or a paper in a folder of the root of which the list names nothing.
bool IsForeign(const std::string& file, const std::vector<Record>& records)
{
    const auto top = [](const std::string& path) {
        return QString(Slashed(path).c_str()).section('/', 0, 0).toLower();
    };
    const QString suffix = QString(file.c_str()).section('.', -1).toLower();
    return file.find('\\') != std::string::npos && top(file) != "game" && !Holds(file, spared) &&
           QStringList({"exe", "lnk", "doc", "docx", "xls", "xlsx", "pdf"}).contains(suffix) &&
           std::none_of(records.begin(), records.end(),
                        [&](const Record& record) { return top(record.path) == top(file); });
}

// A tree, and what the update to a list makes of it.
struct Model
{
    Tree disk;
    QStringList log = {};
    std::deque<std::string> queue = {};
    std::uint32_t bytes = 0;
    bool isRefused = false;
    bool isBlocked = false;

    // `files` are those of the tree, in the order of the walk.
    void Update(const Paths& files, const std::vector<Record>& records, bool gameRuns)
    {
        std::set<std::string> listedFiles, listedFolders;
        for (const Record& record : records)
            (record.isFolder ? listedFolders : listedFiles).insert(record.path);
        const auto exists = [&](const std::string& path) {
            return disk.count(path) || disk.count(path + "/");
        };

        for (const std::string& file : files) {
            if (!isRefused && IsForeign(file, records)) {
                isRefused = true;
                log += ("Refusing to update: the folder \"ROOT\\" + file.substr(0, file.find('\\')) +
                        "\" is not the game's, and an update would delete \"" + file + "\" in it")
                           .c_str();
            }
        }
        if (isRefused)
            return;

        log += "Deleting files and directories that are not in the list";
        const Tree before = disk;
        const int noChange = log.size();
        for (const std::string& file : files) {
            if (listedFiles.count(file) == 0 && !Holds(file, spared)) {
                disk.erase(Slashed(file));
                log += ("Deleted file: " + file).c_str();
            }
        }
        for (const Record& record : records) {
            const std::string path = Slashed(record.path), above = path.substr(0, path.rfind('/') + 1);
            if (record.isFolder && !exists(path)) {
                if (above.empty() || disk.count(above)) // one level at a time
                    disk[path + "/"];
                log += ("Created directory: ROOT\\" + record.path).c_str();
            }
        }
        for (const std::string& file : files) {
            const bool hasDot = file.find('.') != std::string::npos;
            const bool standsInRoot = hasDot && file.find('\\') == std::string::npos;
            const std::string folder = hasDot ? file.substr(0, file.rfind('\\')) : file;
            if (!standsInRoot && !Holds(folder, temporary) && !listedFolders.count(folder) &&
                exists(Slashed(folder))) {
                // "0" is the character after "/".
                disk.erase(disk.lower_bound(Slashed(folder) + "/"), disk.lower_bound(Slashed(folder) + "0"));
                log += ("Directory deleted: " + folder).c_str();
            }
        }
        const bool treeChanged = log.size() > noChange;
        log += "Initializing files to download";
        for (const Record& record : records) {
            const auto file = disk.find(Slashed(record.path));
            const std::string digest = file != disk.end() ? Sha256Of(file->second) : "";
            if (!record.isFolder && record.digest != digest && !Holds(record.path, {"List.txt"})) {
                queue.push_back(Slashed(record.path));
                bytes += static_cast<std::uint32_t>(record.size);
            }
        }
        isBlocked = gameRuns && (treeChanged || !queue.empty());
        if (isBlocked) { // before the first change
            disk = before;
            log = log.mid(0, treeChanged ? noChange : log.size());
            queue.clear();
            bytes = 0;
        }
    }
};

// Few names, so that tree and list often mean the same path.
struct Dice
{
    std::mt19937 random;

    bool Once(unsigned times)
    {
        return random() % times == 0;
    }
    std::string OneOf(const Paths& choices)
    {
        return choices[random() % choices.size()];
    }
    std::string Folder()
    {
        return OneOf({"Sets", "Sets\\Maps", "Sets\\no dot", "a.b", "Öffentlich", "Game\\Data", "Other",
                      "Other\\engineLog.txt", "LAUNCHER_TEMP_EXE_FOLDER2", "Sets\\LAUNCHER_TEMP_EXE_FOLDER",
                      IsWindows ? "Sets" : "sets", IsWindows ? "a.b" : "öffentlich"});
    }
    std::string File()
    {
        const std::string name =
            OneOf({"a.map", "b.map", "plain", "MyList.txt.x", "list.txt", "unins000.dat", "WEBBROWSERLOG.TXT",
                   "xengineLog.txt.old", "unins000.exe", IsWindows ? "a.map" : "A.map"});
        // Rare, or most updates would be refused for it.
        const std::string foreign =
            OneOf({"a.exe", "B.EXE", "c.lnk", "d.doc", "e.docx", "f.xls", "g.Xlsx", "h.pdf"});
        return (Once(4) ? "" : Folder() + "\\") + (Once(25) ? foreign : name);
    }
    std::string Content()
    {
        return OneOf({"", "old", "new"});
    }

    Tree Installed()
    {
        Tree tree;
        for (unsigned count = random() % 12; count > 0; --count)
            tree[Slashed(Once(5) ? Folder() + "/" : File())] = Content();
        return tree;
    }
    std::vector<Record> List(const Paths& files)
    {
        std::vector<Record> records = {{false, "a.map", 1, Sha256Of("old")}}; // a list names a file
        for (unsigned count = random() % 10; count > 0; --count)
            records.push_back({true, Once(9) ? File() : Folder(), 0, ""});
        for (unsigned count = random() % 15; count > 0; --count) {
            const std::string path = files.empty() || Once(3) ? File() : OneOf(files);
            records.push_back({false, path, static_cast<std::int64_t>(random()) * 3, Sha256Of(Content())});
        }
        for (Record& record : records) {
            if (Once(15)) // no file of the tree, as it is compared
                record.path = Slashed(record.path);
            if (Once(12))
                record.digest = Once(2) ? "" : QString(record.digest.c_str()).toUpper().toStdString();
        }
        return records;
    }
};

// With backslashes, in the order in which the system gives them.
Paths FilesOf(const std::string& root)
{
    Paths files;
    const auto folder = std::filesystem::u8path(root);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        const QString file = entry.path().lexically_relative(folder).u8string().c_str();
        if (entry.is_regular_file())
            files.push_back(QString(file).replace('/', '\\').toStdString());
    }
    return files;
}
} // namespace

class RandomTreeTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<WindowUnderTest> test; // one for all rounds: it takes its time

private slots:
    void initTestCase()
    {
        test = std::make_unique<WindowUnderTest>();
        test->OpenStill().pendingLogLines.clear();
    }
    void cleanupTestCase()
    {
        test.reset();
    }

    void anUpdateDoesWhatItsModelSays_data()
    {
        QTest::addColumn<unsigned>("seed");
        const QByteArray chosen = qgetenv("TREE_SEED");
        std::random_device fresh;
        for (unsigned round = 0; round < (chosen.isEmpty() ? 300 : 1); ++round) {
            const unsigned seed = !chosen.isEmpty() ? chosen.toUInt() : round < 150 ? round : fresh();
            QTest::addRow("%u", seed) << seed;
        }
    }
    void anUpdateDoesWhatItsModelSays()
    {
        QFETCH(const unsigned, seed);
        Dice dice = {std::mt19937(seed)};
        const TemporaryTree tree;
        QVERIFY(WriteTree(tree.Root(), dice.Installed()));
        QVERIFY(WriteTree(tree.Root(), {{test->launcherFolder + "/", ""}}));
        QVERIFY(QDir::setCurrent(tree.Path(test->launcherFolder).c_str()));
        const Paths files = FilesOf(tree.Root());
        const std::vector<Record> records = dice.List(files);
        const bool isValid = !dice.Once(20);
        Paths lines;
        for (const Record& record : records)
            lines.push_back((record.isFolder ? "D#" : "F#") + record.path + "#" +
                            std::to_string(record.size) + "#" + record.digest);
        if (!isValid || dice.Once(2))
            lines.push_back("#records#" + std::to_string(records.size() + (isValid ? 0 : 1)));
        if (dice.Once(3))
            lines.insert(lines.begin(), {"", "d#x", " F#x#1#", "##"}); // which no reader takes
        std::string list;
        for (const std::string& line : lines)
            list += line + dice.OneOf({"\n", "\r\n"});

        MainWindow& window = *test->window;
        window.gameProcessRunning = dice.Once(4);
        Model model = {TreeOf(tree.Root())};
        model.log += QString("List of files loaded with %1 elements").arg(lines.size());
        model.log += isValid ? QStringList() : QStringList("List of files is invalid");
        model.log += "Deleted temporary list file";
        if (isValid)
            model.Update(files, records, window.gameProcessRunning);

        window.fileQueue.clear();
        window.totalBytes = 0;
        updateState = UpdateState::FetchingList;
        checkedRoot = TreeRoot();
        QVERIFY(WriteFile(tree.Path("Game/TessaloomLauncher/List.txt"), list));
        const bool isComplete = window.ProcessFileList();

        QStringList log;
        window.FlushLog(true);
        for (QString line : window.logModel->stringList()) {
            line.remove(0, QString("[00:00:00] ").size()).replace(tree.WindowsRoot().c_str(), "ROOT");
            log.prepend(line.section(". Give", 0, 0));
        }
        window.logModel->setStringList({});
        COMPARE_ALL(log, model.log);
        COMPARE_ALL(TreeOf(tree.Root()), model.disk);
        QVERIFY(window.fileQueue == model.queue);
        QCOMPARE(window.totalBytes, static_cast<std::int32_t>(model.bytes));
        const bool isRefused = !isValid || model.isRefused;
        QCOMPARE(updateState == UpdateState::Offline, isRefused);
        QVERIFY(isRefused || isComplete == !model.isBlocked);
    }
};

QTEST_MAIN(RandomTreeTest)
#include "randomtree_test.moc"
