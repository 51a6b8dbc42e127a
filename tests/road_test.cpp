// The whole road: the real executable in an outdated tree, started as a player starts it, against a server.
// Each scenario is judged by the whole tree and by the requests that came.
//
// The executable ends every process of its own file name on this machine, and counts whatever bears the
// game's name as a running game: this program waits until there is none, and must run alone.
#include <clocale>
#include <memory>
#include <random>
#include <set>

#include "gametree/layout.h"
#include "press.h"
#include "processes/processtable.h"
#include "support/childprocess.h"
#include "support/scriptedserver.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
const std::string launcherFolder = "Game/TessaloomLauncher/Release/";
const std::string stem = "LAUNCHER_TEMP_EXE_FOLDER";
const std::string copies = launcherFolder + stem; // without their number
const std::string gameFolder = "Game/Tessaloom/Code/Current/Release/";

constexpr int outdatedFiles = 35;

// An outdated installation, and the version that is published on the server which the executable knows.
struct Road
{
    Road() : server(ROAD_PORT)
    {
        const Tree both = {{"Game/same.txt", "same"},
                           {launcherFolder + "library.so", "a library"},
                           {launcherFolder + "platforms/plugin.so", "Qt's plugin"},
                           {launcherFolder + "platforms/sub/data", "not copied"},
                           {launcherFolder + LauncherFileName, ReadFile(ROAD_LAUNCHER)}};
        WriteTree(web.Root(), both);
        WriteTree(web.Root(), {{"Game/changed.txt", std::string(3000000, 'n')},
                               {"Game/empty.txt", ""},
                               {"in the root.txt", "new"},
                               {"Größe 漢字/Straße + %zz (100%).txt", "new"},
                               {gameFolder + GameFileName, ReadFile(TEST_CHILD)}});
        for (int i = 0; i < 30; ++i)
            WriteFile(web.Path("Game/Data/" + std::to_string(i) + ".dat"), std::string(50000, 'd'));
        QProcess makeList;
        makeList.start(MAKE_LIST, {web.Root().c_str()});
        makeList.waitForFinished();
        published = TreeOf(web.Root());
        for (const auto& [path, content] : published)
            server.scripts[path].body = content;
        server.scripts["List.txt"].body = makeList.readAllStandardOutput().toStdString();
        WriteTree(tree.Root(), both);
        WriteTree(tree.Root(),
                  Files({"Game/changed.txt", "Game/left over.txt", "Game/old folder/left over.txt",
                         copies + "1", copies + "2/removed", copies + "10/", copies + "11/kept"}));
        QFile::setPermissions(tree.Path(launcherFolder + LauncherFileName).c_str(),
                              QFile::Permissions(0x7755));
    }
    ~Road()
    {
        EndLaunchers(0);
    }

    // Starts the launcher in this folder of the tree, by default as the player does it. Neither a command
    // line nor the locale may matter to it.
    std::unique_ptr<QProcess> Start(const std::string& folder = launcherFolder, const char* locale = "C")
    {
        server.requests.clear();
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LC_ALL", locale);
        environment.insert(ReportVariable, said.Path("game").c_str());
        environment.insert(TemporaryFolderVariable, said.Root().c_str());
        process->setProcessEnvironment(environment);
        process->setWorkingDirectory(tree.Path(folder).c_str());
        process->setStandardErrorFile(said.Path("errors").c_str(), QIODevice::Append);
        process->setStandardOutputFile(QProcess::nullDevice());
        process->start(tree.Path(launcherFolder + LauncherFileName).c_str(), {"-platform", "none"});
        process->waitForStarted();
        return process;
    }

    // True if at least so many requests have come since the start, and one launcher is left, at rest.
    bool ComesToRest(int requests) const
    {
        const auto isAtRest = [&] {
            return server.requests.size() >= requests && server.running == 0 && Launchers().size() == 1;
        };
        const bool came = QTest::qWaitFor(isAtRest, 60000);
        QTest::qWait(1000); // in which more could come
        return came && isAtRest();
    }
    // The tree without what stands in temporary folders.
    Tree Installed() const
    {
        Tree installed = TreeOf(tree.Root());
        for (auto it = installed.begin(); it != installed.end();)
            it = it->first.find(stem) == std::string::npos ? std::next(it) : installed.erase(it);
        return installed;
    }

    // The launchers of this tree. Where the system does not show their folders: all launchers.
    std::vector<DWORD> Launchers() const
    {
        std::vector<DWORD> launchers;
        for (const DWORD process : RunningProcesses()) {
            const QString program = QFileInfo("/proc/" + QString::number(process) + "/exe").symLinkTarget();
            if (ProcessName(process) == LauncherFileName &&
                (IsWindows || program.startsWith(tree.Root().c_str())))
                launchers.push_back(process);
        }
        return launchers;
    }
    // Ends launchers until so many have been ended and none is left. Shortly after a start there is a copy
    // that does not show its name yet.
    bool EndLaunchers(std::size_t atLeast = 1)
    {
        std::set<DWORD> processes;
        const auto noneIsLeft = [&] {
            const std::vector<DWORD> launchers = Launchers();
            for (const DWORD process : launchers) {
                if (const HANDLE handle = OpenProcess(PROCESS_TERMINATE, FALSE, process)) {
                    TerminateProcess(handle, 0);
                    CloseHandle(handle);
                    processes.insert(process);
                }
            }
            return launchers.empty() && processes.size() >= atLeast;
        };
        const bool ended = QTest::qWaitFor(noneIsLeft, 60000);
        server.DropConnections();
        return ended;
    }

    TemporaryTree tree, web, said;
    ScriptedServer server;
    Tree published;
};
} // namespace

class RoadTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<Road> road;

private slots:
    void init()
    {
        QVERIFY2(QTest::qWaitFor([] { return !IsGameProcessRunning(GameName); }, 120000),
                 "A game or a launcher runs on this machine.");
        road = std::make_unique<Road>();
    }
    void cleanup()
    {
        const std::string said = road ? ReadFile(road->said.Path("errors")) : "";
        road.reset();
        for (const char* fault : {"Sanitizer", "runtime error", "QObject::", "QMetaObject::"})
            QVERIFY2(said.find(fault) == std::string::npos, said.c_str());
    }

    void anOutdatedGameIsUpdatedAndPlayed()
    {
        // The other tests have the locale "C". On Windows no variable changes it.
        const char* const locale = IsWindows ? "C" : "de_DE.UTF-8";
        QVERIFY2(std::setlocale(LC_ALL, locale), "This machine does not have the locale.");
        FixTextConventions();
        const auto installed = road->Start(launcherFolder, locale);
        const QList<int> codes = {0, 9}; // 9: its copy has killed it, as every other launcher
        QVERIFY(installed->waitForFinished() && codes.contains(installed->exitCode()));
        QVERIFY(road->ComesToRest(outdatedFiles + 1));
        QStringList files = road->server.requests;
        QVERIFY(files.size() == outdatedFiles + 1 && files.removeDuplicates() == 0);
        COMPARE_ALL(road->Installed(), road->published);
        // The copy that runs has the plain files of the launcher's folder and of its plugins.
        COMPARE_ALL(TreeOf(road->tree.Path(copies + "2")), Tree({{LauncherFileName, ReadFile(ROAD_LAUNCHER)},
                                                                 {"library.so", "a library"},
                                                                 {"platforms/", ""},
                                                                 {"platforms/plugin.so", "Qt's plugin"},
                                                                 {stem + "1", "x"}}));
        QVERIFY(!QFile::exists(road->tree.Path(copies + "10").c_str()));
        QCOMPARE(ReadFile(road->tree.Path(copies + "11/kept")).c_str(), "x");

        QVERIFY(QTest::qWaitFor(PressPlay, 30000));
        QTRY_VERIFY(road->Launchers().empty());
        const QString game = QDir::toNativeSeparators(QDir(road->tree.Path(gameFolder).c_str()).path());
        QTRY_COMPARE(QString(ReadFile(road->said.Path("game")).c_str()), game + "\n0 arguments");
    }

    // As often as ROAD_ROUNDS says, else twice.
    void aKilledUpdateIsHealedByTheNextStart()
    {
        const unsigned seed = std::random_device()();
        qInfo("seed %u", seed);
        std::mt19937 random(seed);
        const int rounds = qEnvironmentVariableIntValue("ROAD_ROUNDS");
        for (auto& [path, script] : road->server.scripts)
            script.pieceSize = 10000;
        int unfinished = 0;
        for (int round = 0; round < std::max(rounds, 2); ++round) {
            // Three of four files, so that more are outdated than are asked for before the launcher is ended.
            for (const auto& [path, content] : road->published) {
                const bool isLauncher = path.find(launcherFolder) == 0;
                if (path.back() != '/' && !isLauncher && random() % 4)
                    QVERIFY(WriteFile(road->tree.Path(path), "old"));
            }
            const std::string unlisted = road->tree.Path("unlisted");
            QVERIFY(WriteFile(unlisted + "/extra.txt", "extra"));
            const int asked = static_cast<int>(random() % 15); // none: before the list
            QVERIFY(road->Start()->waitForFinished());
            QVERIFY(QTest::qWaitFor([&] { return road->server.requests.size() >= asked; }, 30000));
            QTest::qWait(static_cast<int>(random() % 40));
            QVERIFY(road->EndLaunchers());
            unfinished += road->Installed() != road->published;
            QVERIFY(WriteFile(unlisted + "/extra.txt", "extra"));
            QVERIFY(road->Start()->waitForFinished());
            // Windows deletes no file that is open, so nothing is read before the launcher has deleted what
            // it has to. The folder is the last of that.
            const auto isHealed = [&] {
                return !QFile::exists(unlisted.c_str()) && road->server.running == 0 &&
                       road->Installed() == road->published;
            };
            const bool healed = QTest::qWaitFor(isHealed, 180000); // on a loaded machine
            COMPARE_ALL(road->Installed(), road->published);
            QVERIFY(healed);
            QVERIFY(road->EndLaunchers());
        }
        QVERIFY(unfinished > 0);
    }

    // Before the last two starts, a launcher is ended before it can remove its claim.
    void twoStartsLeaveOneCompleteLauncherAndEndNoOtherProgram()
    {
        const TemporaryTree others;
        ChildProcess longer(others.Path(std::string("x") + LauncherFileName));
        ChildProcess inCapitals(others.Path(QString(LauncherFileName).toUpper().toStdString() + "2"));
        // An update leaves a file of this name alone. The relay is busy with it when the second start comes.
        QFile large((road->tree.Path(launcherFolder) + SparedNames[1]).c_str());
        QVERIFY(large.open(QIODevice::WriteOnly) && large.resize(200000000));
        for (const int gap : {0, 50, 100, 200, 1}) {
            if (gap == 1)
                QVERIFY(road->Start()->waitForFinished() && road->EndLaunchers());
            const auto first = road->Start();
            QTest::qWait(gap);
            const auto second = road->Start();
            QVERIFY(road->ComesToRest(1));
            QDirIterator files(road->tree.Root().c_str(), {SparedNames[1]}, QDir::Files,
                               QDirIterator::Subdirectories);
            int complete = 0;
            while (files.hasNext())
                complete += QFileInfo(files.next()).size() == large.size();
            QCOMPARE(complete, 2);
        }
        QVERIFY(longer.state() == QProcess::Running && inCapitals.state() == QProcess::Running);
    }

    void aBoxSaysWhyNothingHappens()
    {
        struct Row
        {
            std::string folder;
            std::string bystander;
            const char* title;
            QStringList requests;
        };
        const char wrongFolder[] = "TessaloomLauncher was not started in a correct directory";
        std::vector<Row> rows = {{copies + "11", "xTessaloomx.exe", "Error", {"List.txt"}},
                                 {"Game/" + stem, LauncherFileName, wrongFolder, {}}};
        for (const std::string& name : {std::string(250, 'x'), std::string("reads\\as another")})
            if (!IsWindows) // which starts no program in the one, and can't have the other
                rows.push_back({copies + "11/" + name, "other.exe", wrongFolder, {}});
        for (const Row& row : rows) {
            const TemporaryTree elsewhere;
            ChildProcess other(elsewhere.Path(row.bystander));
            QVERIFY(QDir().mkpath(road->tree.Path(row.folder).c_str()));
            const Tree before = TreeOf(road->tree.Root());
            // As the installed run leaves it. The copy in the wrong folder must remove it before it shows its
            // box, or the next start is refused for as long as nobody presses the box.
            const std::string claim =
                road->said.Path(LauncherFileName + ("-" + Sha256Of(road->tree.WindowsRoot() + "\\Game")));
            QVERIFY(WriteFile(claim, ""));
            const auto launcher = road->Start(row.folder);
            QVERIFY(row.folder != "Game/" + stem ||
                    QTest::qWaitFor([&] { return !QFile::exists(claim.c_str()); }, 30000));
            QVERIFY(QTest::qWaitFor([&] { return PressBox(row.title); }, 30000));
            QVERIFY(launcher->waitForFinished());
            QVERIFY(launcher->exitStatus() == QProcess::NormalExit && launcher->exitCode() == 0);
            QCOMPARE(road->server.requests, row.requests);
            COMPARE_ALL(TreeOf(road->tree.Root()), before);
            QVERIFY(other.state() == QProcess::Running);
        }
    }
};

QTEST_GUILESS_MAIN(RoadTest)
#include "road_test.moc"
