// The whole road: the real executable in an outdated tree, started as a player starts it, against a server.
// What counts is the complete tree and the requests that came.
// The executable ends every process of its own file name on this machine, and counts whatever bears the
// game's name as a running game: this program waits until there is none, and must run alone.
#include <memory>

#include "gametree/layout.h"
#include "press.h"
#include "processes/processtable.h"
#include "support/childprocess.h"
#include "support/scriptedserver.h"
#include "support/testmain.h"

namespace {
const std::string launcherFolder = "Game/TessaloomLauncher/Release/";
const std::string stem = "LAUNCHER_TEMP_EXE_FOLDER";
const std::string copies = launcherFolder + stem; // without their number
const std::string gameFolder = "Game/Tessaloom/Code/Current/Release/";

constexpr int outdatedFiles = 33;

// An outdated installation, and the version that is published on the server which the executable knows.
struct Road
{
    Road() : server(ROAD_PORT)
    {
        const Tree both = {{launcherFolder + "library.so", "a library"},
                           {launcherFolder + "platforms/plugin.so", "Qt's plugin"},
                           {launcherFolder + LauncherFileName, ReadFile(ROAD_LAUNCHER)}};
        WriteTree(web.Root(), both);
        WriteTree(web.Root(), {{"Game/changed.txt", std::string(3000000, 'n')},
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
        WriteTree(tree.Root(), Files({"Game/changed.txt", "Game/old folder/left over.txt", copies + "1",
                                      copies + "2/removed", copies + "10/removed", copies + "11/kept"}));
        QFile::setPermissions(tree.Path(launcherFolder + LauncherFileName).c_str(),
                              QFile::Permissions(0x7755));
        QFile::setPermissions(tree.Path(copies + "10").c_str(), QFile::Permissions(0x5555)); // OneDrive's
    }
    ~Road()
    {
        EndLaunchers(false);
    }

    // Starts the launcher in this folder of the tree, by default as the player does it. Neither a command
    // line nor the locale may matter to it. Where the German one is missing, it gets "C".
    std::unique_ptr<QProcess> Start(const std::string& folder = launcherFolder)
    {
        server.requests.clear();
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LC_ALL", "de_DE.UTF-8");
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
        return QTest::qWaitFor(isAtRest, 60000) && !QTest::qWaitFor([&] { return !isAtRest(); }, 1000);
    }
    // The tree without what stands in temporary folders.
    Tree Installed() const
    {
        Tree installed = TreeOf(tree.Root());
        installed.erase(installed.lower_bound(copies), installed.lower_bound(copies + "~"));
        return installed;
    }

    static std::vector<DWORD> Launchers()
    {
        std::vector<DWORD> launchers = RunningProcesses();
        const auto isOther = [](DWORD process) { return ProcessName(process) != LauncherFileName; };
        launchers.erase(std::remove_if(launchers.begin(), launchers.end(), isOther), launchers.end());
        return launchers;
    }
    // Ends launchers until none is left, and by default one has been ended: shortly after a start there is a
    // copy that does not show its name yet.
    bool EndLaunchers(bool oneIsStarted = true)
    {
        const auto noneIsLeft = [&] {
            const std::vector<DWORD> launchers = Launchers();
            for (const DWORD process : launchers) {
                if (const HANDLE handle = OpenProcess(PROCESS_TERMINATE, FALSE, process)) {
                    TerminateProcess(handle, 0);
                    CloseHandle(handle);
                    oneIsStarted = false;
                }
            }
            return launchers.empty() && !oneIsStarted;
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
        const TemporaryTree one, other; // two old launchers, which hang
        ChildProcess old(one.Path(LauncherFileName)), older(other.Path(LauncherFileName));
        const auto installed = road->Start();
        QVERIFY(installed->waitForFinished());
        QVERIFY(installed->exitCode() == 0 || installed->exitCode() == 9); // its copy ends other launchers
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
        QCOMPARE(QDir(road->tree.Path(launcherFolder).c_str()).entryList({(stem + "*").c_str()}),
                 QStringList({(stem + "1").c_str(), (stem + "11").c_str(), (stem + "2").c_str()}));

        QVERIFY(QTest::qWaitFor(PressPlay, 30000));
        QTRY_VERIFY(road->Launchers().empty());
        const QString game = QDir::toNativeSeparators(QDir(road->tree.Path(gameFolder).c_str()).path());
        QTRY_COMPARE(QString(ReadFile(road->said.Path("game")).c_str()), game + "\n0 arguments");
    }

    void aKilledUpdateIsHealedByTheNextStart()
    {
        QRandomGenerator& random = *QRandomGenerator::global();
        const int rounds = qEnvironmentVariableIntValue("ROAD_ROUNDS");
        for (auto& [path, script] : road->server.scripts)
            script.pieceSize = 10000;
        int unfinished = 0;
        for (int round = 0; round < std::max(rounds, 2); ++round) {
            // Three of four files, so that more are outdated than are asked for before the launcher is ended.
            for (const auto& [path, content] : road->published)
                if (path.back() != '/' && path.find(launcherFolder) != 0 && random.bounded(4) > 0)
                    QVERIFY(WriteFile(road->tree.Path(path), "old"));
            const std::string unlisted = road->tree.Path("unlisted");
            QVERIFY(WriteFile(unlisted + "/extra.txt", "extra"));
            const int asked = random.bounded(15); // none: before the list
            QVERIFY(road->Start()->waitForFinished());
            QVERIFY(QTest::qWaitFor([&] { return road->server.requests.size() >= asked; }, 30000));
            QTest::qWait(random.bounded(40));
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
            QVERIFY(QTest::qWaitFor(isHealed, 180000)); // on a loaded machine
            QVERIFY(road->EndLaunchers());
        }
        QVERIFY(unfinished > 0);
    }

    void twoStartsLeaveOneCompleteLauncher()
    {
        // An update leaves a file of this name alone. The relay is busy with it when the second start comes.
        QFile large((road->tree.Path(launcherFolder) + SparedNames[1]).c_str());
        QVERIFY(large.open(QIODevice::WriteOnly) && large.resize(200000000));
        QVERIFY(QFile::remove(road->tree.Path(copies + "1").c_str())); // both starts want this folder
        for (const int gap : {0, 100}) {
            const auto first = road->Start();
            QTest::qWait(gap);
            const auto second = road->Start();
            // A refused start is no running game: the update is not blocked.
            QVERIFY(road->ComesToRest(gap == 0 ? outdatedFiles + 1 : 1));
            QDirIterator files(road->tree.Root().c_str(), {SparedNames[1]}, QDir::Files,
                               QDirIterator::Subdirectories);
            int complete = 0;
            while (files.hasNext())
                complete += QFileInfo(files.next()).size() == large.size();
            QCOMPARE(complete, 2);
        }
    }

    void aStartThatCannotUpdateSaysWhyInABox()
    {
        struct Row
        {
            QString title;
            std::string folder;
            const char* bystander;
            QStringList requests;
        };
        const std::string folder = road->tree.WindowsRoot() + "\\Game";
        const QString wrong =
            "TessaloomLauncher was not started in a correct directory, it should be started in: "
            "Game/TessaloomLauncher/Release. It was started in:\n" +
            QString((folder + "\\" + stem).c_str());
        for (const Row& row : {Row{"Error", copies + "11", "xTessaloomLauncher.exe", {"List.txt"}},
                               Row{wrong, "Game/" + stem, LauncherFileName, {}}}) {
            const TemporaryTree elsewhere;
            ChildProcess other(elsewhere.Path(row.bystander));
            QVERIFY(QDir().mkpath(road->tree.Path(row.folder).c_str()));
            const Tree before = TreeOf(road->tree.Root());
            // The claim of the installed run. It would refuse each start while a box is open.
            const std::string claim = road->said.Path(LauncherFileName + ("-" + Sha256Of(folder)));
            QVERIFY(WriteFile(claim, ""));
            const auto launcher = road->Start(row.folder);
            QVERIFY2(QTest::qWaitFor([&] { return PressBox(row.title); }, 30000), qPrintable(row.title));
            QVERIFY(launcher->waitForFinished());
            QVERIFY(launcher->exitStatus() == QProcess::NormalExit && launcher->exitCode() == 0);
            QCOMPARE(QFile::exists(claim.c_str()), row.title == "Error");
            QCOMPARE(road->server.requests, row.requests);
            COMPARE_ALL(TreeOf(road->tree.Root()), before);
            QVERIFY(other.state() == QProcess::Running);
        }
        // Without a copy no window will come, so the next start must not wait for one.
        QVERIFY(road->Start("Game/")->waitForFinished());
        QVERIFY(QFile::exists(road->tree.Path("Game/" + stem + "1/changed.txt").c_str()));
        QVERIFY(QDir(road->said.Root().c_str()).entryList({"*-*"}).isEmpty());
    }
};

QTEST_GUILESS_MAIN(RoadTest)
#include "road_test.moc"
