// The whole road: the real executable in an outdated tree, started as a player starts it, against a server.
// Each scenario is judged by the whole tree and by the requests that came.
//
// The executable ends every process of its own file name on this machine, and counts whatever bears the
// game's name as a running game: this program waits until there is none, and must run alone.
#include <algorithm>
#include <clocale>

#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>

#include "makelist/makelist.h"
#include "processes/gameprocess.h"
#include "processes/processname.h"
#include "support/childprocess.h"
#include "support/scriptedserver.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
const std::string LauncherName = "TessaloomLauncher.exe";
const std::string LauncherFolder = "Game/TessaloomLauncher/Release/";
const std::string GameFolder = "Game/Tessaloom/Code/Current/Release/";
const std::string TemporaryStem = "LAUNCHER_TEMP_EXE_FOLDER";

QString Text(const std::string& text)
{
    return QString::fromStdString(text);
}

// Elsewhere a scenario ends before that.
constexpr char PressIsSkipped[] = "Buttons are pressed with xdotool on an X display only.";
bool CanPress()
{
    return QGuiApplication::platformName() == "xcb" && !QStandardPaths::findExecutable("xdotool").isEmpty();
}

// Waits for a visible window whose title begins so, and does this to it. False if none came.
bool Press(const QString& title, const QStringList& what)
{
    const QStringList search = {"search", "--onlyvisible", "--name", "^" + title};
    return QTest::qWaitFor([&] { return QProcess::execute("xdotool", search + what) == 0; }, 30000);
}

// An outdated installation, and the version that is published on the server which the executable knows.
struct Road
{
    Road() : server(ROAD_PORT)
    {
        WriteTree(tree.Root(), {{"Game/same.txt", "same"},
                                {"Game/changed.txt", "old"},
                                {"Game/left over.txt", "extra"},
                                {"Game/old folder/left over.txt", "extra"},
                                {LauncherFolder + TemporaryStem + "1/remains.txt", "of an earlier run"}});
        QFile::copy(ROAD_LAUNCHER, Text(tree.Path(LauncherFolder + LauncherName)));

        WriteTree(web.Root(), {{"Game/same.txt", "same"},
                               {"Game/changed.txt", std::string(3000000, 'n')},
                               {"Game/empty.txt", ""},
                               {"in the root.txt", "new"},
                               {"Größe 漢字/Straße.txt", "new"},
                               {"a + b/c++ (100%).txt", "new"},
                               {"a + b/%zz %4.txt", "new"},
                               {LauncherFolder + LauncherName, ReadFile(ROAD_LAUNCHER)},
                               {GameFolder, {}}});
        for (int i = 0; i < 30; ++i)
            WriteFile(web.Path("Game/Data/" + std::to_string(i) + ".dat"), std::string(50000, 'd'));
        CopyChildProgram(web.Path(GameFolder + "Tessaloom.exe"));
        Publish();
    }
    ~Road()
    {
        EndLaunchers();
    }

    // The list and the files as they stand in the publisher's folder.
    void Publish()
    {
        Remarks remarks;
        published = TreeOf(web.Root());
        server.scripts.clear();
        for (const auto& [path, content] : published)
            server.scripts[path].body = content;
        server.scripts["List.txt"].body = MakeList(web.WindowsRoot(), remarks, [](auto...) {});
    }

    // Starts the launcher of this folder of the tree there, by default as the player does it. Neither a
    // command line nor the locale may matter to it.
    std::unique_ptr<QProcess> Start(const std::string& folder = LauncherFolder, const char* locale = "C")
    {
        server.requests.clear();
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LC_ALL", locale);
        environment.insert("KACHEL_REPORT", Text(said.Path("game")));
        process->setProcessEnvironment(environment);
        process->setWorkingDirectory(Text(tree.Path(folder)));
        process->setStandardErrorFile(Text(said.Path("errors")), QIODevice::Append);
        process->setStandardOutputFile(QProcess::nullDevice());
        process->start(Text(tree.Path(folder + LauncherName)), {"-platform", "none"});
        return process;
    }

    // The requests since the start, sorted: when as many as expected have come, all but `open` are answered,
    // and a second has passed in which more could have come.
    QStringList Requests(const QStringList& expected, int open = 0)
    {
        const auto atRest = [&] { return server.running == open && Launchers().size() == 1; };
        const auto count = static_cast<std::size_t>(expected.size());
        const bool came = QTest::qWaitFor([&] { return server.requests.size() >= count && atRest(); }, 60000);
        QTest::qWait(1000);
        QStringList paths;
        for (const std::string& request : server.requests)
            paths += QString::fromUtf8(QByteArray::fromPercentEncoding(QByteArray::fromStdString(request)));
        paths.sort();
        return came && atRest() ? paths : paths + QStringList("(not one launcher at rest)");
    }
    // What an update must ask for: the list, and once each file that differs.
    QStringList Outdated() const
    {
        QStringList paths = {"List.txt"};
        const Tree installed = Installed();
        for (const auto& [path, content] : published) {
            const auto found = installed.find(path);
            if (path.back() != '/' && (found == installed.end() || found->second != content))
                paths += Text(path);
        }
        paths.sort();
        return paths;
    }
    // The tree without what stands in temporary folders.
    Tree Installed() const
    {
        Tree installed = TreeOf(tree.Root());
        for (auto it = installed.begin(); it != installed.end();)
            it = it->first.find(TemporaryStem) == std::string::npos ? std::next(it) : installed.erase(it);
        return installed;
    }

    // The launchers of this tree.
    std::vector<DWORD> Launchers() const
    {
        std::vector<DWORD> launchers;
        for (const DWORD process : RunningProcesses()) {
            // Where the system shows the whole path.
            const QFileInfo program("/proc/" + QString::number(process) + "/exe");
            const bool elsewhere =
                program.isSymLink() && !program.symLinkTarget().startsWith(Text(tree.Root()));
            if (ProcessName(process) == LauncherName && !elsewhere)
                launchers.push_back(process);
        }
        return launchers;
    }
    bool WaitForEnd() const
    {
        return QTest::qWaitFor([this] { return Launchers().empty(); }, 20000);
    }
    bool EndLaunchers() const
    {
        for (const DWORD process : Launchers()) {
            if (const HANDLE handle = OpenProcess(PROCESS_TERMINATE, FALSE, process)) {
                TerminateProcess(handle, 0);
                CloseHandle(handle);
            }
        }
        return WaitForEnd();
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
        QVERIFY2(QTest::qWaitFor([] { return !IsGameProcessRunning("Tessaloom"); }, 120000),
                 "A game or a launcher runs on this machine.");
        road = std::make_unique<Road>();
        QCOMPARE(road->Outdated().size(), 38);
    }
    void cleanup()
    {
        const std::string said = road ? ReadFile(road->said.Path("errors")) : "";
        road.reset();
        for (const char* fault : {"Sanitizer", "runtime error", "QObject::", "QMetaObject::"})
            QVERIFY2(said.find(fault) == std::string::npos, said.c_str());
    }

    void update_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::newRow("C") << "C";
        QTest::newRow("German") << "de_DE.UTF-8";
    }
    void update()
    {
        QFETCH(QString, locale);
        if (!std::setlocale(LC_ALL, qPrintable(locale)))
            QSKIP("This machine does not have the locale.");
        FixTextConventions();
        const QStringList expected = road->Outdated();
        QVERIFY(road->Start(LauncherFolder, qPrintable(locale))->waitForFinished());
        QCOMPARE(road->Requests(expected), expected);
        QVERIFY2(road->Installed() == road->published, Readable(road->Installed()).c_str());

        if (!CanPress())
            QSKIP(PressIsSkipped);
        QVERIFY(Press("Tessaloom Launcher", {"mousemove", "--window", "%1", "686", "425", "click", "1"}));
        QVERIFY(road->WaitForEnd());
        const std::string report = road->said.Path("game");
        QTRY_VERIFY(QFile::exists(Text(report)));
        QCOMPARE(Text(ReadFile(report)), Text(road->tree.Path(GameFolder)).chopped(1) + "\n0 arguments");
    }

    // Two files have come in part when the launcher is killed.
    void killedHalfWay()
    {
        QStringList expected = {"Game/Data/17.dat", "Game/changed.txt", "List.txt"};
        for (const char* path : {"Game/changed.txt", "Game/Data/17.dat"}) {
            road->server.scripts[path].sendOnly = 20000;
            road->server.scripts[path].end = Script::End::Stall;
        }
        const QStringList all = road->Outdated();
        QVERIFY(road->Start()->waitForFinished());
        QCOMPARE(road->Requests(all, 2), all);
        QVERIFY(road->EndLaunchers());
        QCOMPARE(road->Outdated(), expected);

        road->Publish();
        QVERIFY(road->Start()->waitForFinished());
        QCOMPARE(road->Requests(expected), expected);
        QVERIFY2(road->Installed() == road->published, Readable(road->Installed()).c_str());
    }

    // A newer launcher takes over and has nothing left to do. So does a second start, in a window of its own.
    void newerLaunchers()
    {
        const std::string program = ReadFile(ROAD_LAUNCHER) + "in a new version";
        QVERIFY(WriteFile(road->web.Path(LauncherFolder + LauncherName), program));
        road->Publish();
        QStringList expected = road->Outdated();
        expected.insert(expected.indexOf("List.txt"), "List.txt");
        QVERIFY(road->Start()->waitForFinished());
        QCOMPARE(road->Requests(expected), expected);
        QCOMPARE(road->server.requests.back().c_str(), "List.txt");
        QVERIFY2(road->Installed() == road->published, Readable(road->Installed()).c_str());
        const Tree tree = TreeOf(road->tree.Root());
        const auto isProgram = [&](const auto& file) { return file.second == program; };
        QCOMPARE(std::count_if(tree.begin(), tree.end(), isProgram), std::ptrdiff_t(2));

        const DWORD older = road->Launchers().front();
        QVERIFY(road->Start()->waitForFinished());
        QCOMPARE(road->Requests({"List.txt"}), QStringList("List.txt"));
        QCOMPARE(ProcessName(older).c_str(), UnknownProcessName);
    }

    void boxes_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("bystander");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QStringList>("requests");
        QTest::newRow("a game runs") << Text(LauncherFolder) << "xTessaloomx.exe"
                                     << "Error" << QStringList("List.txt");
        QTest::newRow("wrong folder")
            << "Game/" << Text(LauncherName) << "TessaloomLauncher was not started in a correct directory"
            << QStringList();
    }
    // A temporary copy that can only say why nothing happens: nothing changes, and it ends with 0.
    void boxes()
    {
        QFETCH(QString, folder);
        QFETCH(QString, bystander);
        QFETCH(QString, title);
        QFETCH(QStringList, requests);
        const TemporaryTree elsewhere;
        ChildProcess other(elsewhere.Path(bystander.toStdString()));
        QVERIFY(other.IsRunning());
        const std::string temporary = folder.toStdString() + TemporaryStem + "1/";
        QDir().mkpath(Text(road->tree.Path(temporary)));
        QVERIFY(QFile::copy(ROAD_LAUNCHER, Text(road->tree.Path(temporary + LauncherName))));
        const Tree before = TreeOf(road->tree.Root());

        const auto launcher = road->Start(temporary);
        QCOMPARE(road->Requests(requests), requests);
        QVERIFY2(TreeOf(road->tree.Root()) == before, Readable(TreeOf(road->tree.Root())).c_str());
        if (!CanPress())
            QSKIP(PressIsSkipped);
        QVERIFY(Press(title, {"windowfocus", "--sync", "%1", "key", "--window", "0", "Return"}));
        QVERIFY(launcher->waitForFinished());
        QVERIFY(launcher->exitStatus() == QProcess::NormalExit && launcher->exitCode() == 0);
        QVERIFY(other.IsRunning());
    }
};

LAUNCHER_TEST_MAIN(RoadTest)
#include "road_test.moc"
