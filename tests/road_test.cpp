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

// Windows are found and pressed on an X display only; elsewhere a scenario ends before that.
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
const QStringList PressReturn = {"windowfocus", "--sync", "%1", "key", "--window", "0", "Return"};
const QStringList PressPlay = {"mousemove", "--window", "%1", "686", "425", "click", "1"};

void End(DWORD process)
{
    const HANDLE handle = OpenProcess(PROCESS_TERMINATE, FALSE, process);
    TerminateProcess(handle, 0);
    CloseHandle(handle);
}

// An outdated installation, and the version that is published on the server which the executable knows.
class Road
{
public:
    Road() : server(ROAD_PORT)
    {
        // The folder that the launcher starts from, with the remains of an earlier run.
        WriteTree(tree.Root(), {{"Game/same.txt", "same"},
                                {"Game/changed.txt", "old"},
                                {"Game/left over.txt", "extra"},
                                {"Game/old folder/left over.txt", "extra"},
                                {LauncherFolder + TemporaryStem + "1/remains.txt", "of an earlier run"}});
        QFile::copy(ROAD_LAUNCHER, Text(tree.Path(LauncherFolder + LauncherName)));

        Tree files = {
            {"Game/same.txt", "same"},        {"Game/changed.txt", std::string(3000000, 'n')},
            {"Game/empty.txt", ""},           {"in the root.txt", "new"},
            {"Größe 漢字/Straße.txt", "new"}, {"a + b/c++ (100%).txt", "new"},
            {"a + b/%zz %4.txt", "new"},      {LauncherFolder + LauncherName, ReadFile(ROAD_LAUNCHER)}};
        for (int i = 0; i < 30; ++i)
            files["Game/Data/" + std::to_string(i) + ".dat"] =
                std::string(50000, static_cast<char>('a' + i % 26));
        WriteTree(web.Root(), files);
        QDir().mkpath(Text(web.Path(GameFolder)));
        CopyChildProgram(web.Path(GameFolder + "Tessaloom.exe"));
        Publish();
    }
    ~Road()
    {
        for (const DWORD launcher : Launchers())
            End(launcher);
        NoneIsLeft();
    }

    // The list and the files as they stand in the publisher's folder.
    void Publish()
    {
        Remarks remarks;
        server.scripts["List.txt"].body =
            MakeList(web.WindowsRoot(), remarks, [](std::size_t, std::size_t) {});
        published = TreeOf(web.Root());
        for (const auto& [path, content] : published)
            server.scripts[path].body = content;
    }

    // Starts the program of this folder of the tree there. What it says goes to `said`.
    void Start(QProcess& process, const std::string& folder)
    {
        process.setWorkingDirectory(Text(tree.Path(folder)));
        process.setStandardErrorFile(Text(said.Path("stderr")), QIODevice::Append);
        process.setStandardOutputFile(QProcess::nullDevice());
        process.start(Text(tree.Path(folder + LauncherName)), {"-platform", "no such platform"});
    }
    // As the player does it. False if the installed launcher has not done its part in some seconds.
    bool Start(const QString& locale = "C")
    {
        QProcess installed;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LC_ALL", locale);
        environment.insert("KACHEL_REPORT", Text(said.Path("game")));
        installed.setProcessEnvironment(environment);
        Start(installed, LauncherFolder);
        return installed.waitForFinished();
    }

    // True if so many requests came, all but `open` are answered, and for a second nothing more happens.
    bool Settles(std::size_t requests, int open = 0)
    {
        const auto settled = [&] { return server.requests.size() == requests && server.running == open; };
        const bool came =
            QTest::qWaitFor([&] { return server.requests.size() >= requests && settled(); }, 60000);
        QTest::qWait(1000);
        return came && settled() && Launchers().size() == 1;
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
    bool NoneIsLeft() const
    {
        return QTest::qWaitFor([this] { return Launchers().empty(); }, 20000);
    }

    // The tree without what stands in temporary folders.
    Tree Installed() const
    {
        Tree installed;
        for (const auto& [path, content] : TreeOf(tree.Root())) {
            if (path.find(TemporaryStem) == std::string::npos)
                installed[path] = content;
        }
        return installed;
    }

    // Sorted, as paths of the list.
    QStringList Requests() const
    {
        QStringList paths;
        for (const std::string& request : server.requests)
            paths += QString::fromUtf8(QByteArray::fromPercentEncoding(QByteArray::fromStdString(request)));
        paths.sort();
        return paths;
    }
    // What an update of the tree as it stands must ask for: the list, and once each file that differs.
    QStringList Outdated() const
    {
        const Tree installed = Installed();
        QStringList paths = {"List.txt"};
        for (const auto& [path, content] : published) {
            const auto found = installed.find(path);
            if (path.back() != '/' && (found == installed.end() || found->second != content))
                paths += Text(path);
        }
        paths.sort();
        return paths;
    }

    TemporaryTree tree;
    TemporaryTree web;
    TemporaryTree said;
    ScriptedServer server;
    Tree published;
};
} // namespace

#define COMPARE_TREES(actual, expected)                                                     \
    do {                                                                                    \
        const Tree actualTree = actual;                                                     \
        QVERIFY2(actualTree == expected,                                                    \
                 (Readable(actualTree) + "\nbut expected\n" + Readable(expected)).c_str()); \
    } while (false)

class RoadTest : public QObject
{
    Q_OBJECT

private:
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
        if (!road)
            return;
        const std::string said = ReadFile(road->said.Path("stderr"));
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
        QVERIFY(road->Start(locale));
        QVERIFY(road->Settles(static_cast<std::size_t>(expected.size())));
        QCOMPARE(road->Requests(), expected);
        COMPARE_TREES(road->Installed(), road->published);

        if (!CanPress())
            QSKIP("Play is pressed with xdotool on an X display only.");
        const QString report = Text(road->said.Path("game"));
        QVERIFY(Press("Tessaloom Launcher", PressPlay));
        QVERIFY(road->NoneIsLeft());
        QTRY_VERIFY(QFile::exists(report));
        QCOMPARE(Text(ReadFile(report.toStdString())),
                 Text(road->tree.Path(GameFolder)).chopped(1) + "\n0 arguments");
    }

    // Some files have gone, some have come half, some not at all when the launcher is killed.
    void killedHalfWay()
    {
        for (const char* path : {"Game/changed.txt", "Game/Data/1.dat", "Game/Data/17.dat"}) {
            road->server.scripts[path].sendOnly = 20000;
            road->server.scripts[path].end = Script::End::Stall;
        }
        const auto all = static_cast<std::size_t>(road->Outdated().size());
        QVERIFY(road->Start());
        QVERIFY(road->Settles(all, 3));
        End(road->Launchers().front());
        QVERIFY(road->NoneIsLeft());
        const QStringList expected = road->Outdated();
        QCOMPARE(expected,
                 QStringList({"Game/Data/1.dat", "Game/Data/17.dat", "Game/changed.txt", "List.txt"}));

        road->server.requests.clear();
        road->Publish();
        for (auto& [path, script] : road->server.scripts) {
            script.sendOnly = -1;
            script.end = Script::End::Close;
        }
        QVERIFY(road->Start());
        QVERIFY(road->Settles(4));
        QCOMPARE(road->Requests(), expected);
        COMPARE_TREES(road->Installed(), road->published);
    }

    // A new launcher takes over and has nothing left to do. Then a second start: the newest window wins.
    void newerLaunchers()
    {
        const std::string program = ReadFile(ROAD_LAUNCHER) + "in a new version";
        QVERIFY(WriteFile(road->web.Path(LauncherFolder + LauncherName), program));
        road->Publish();
        QStringList expected = road->Outdated() + QStringList("List.txt");
        expected.sort();
        QVERIFY(road->Start());
        QVERIFY(road->Settles(static_cast<std::size_t>(expected.size())));
        QCOMPARE(road->Requests(), expected);
        QCOMPARE(road->server.requests.back().c_str(), "List.txt");
        COMPARE_TREES(road->Installed(), road->published);
        const Tree whole = TreeOf(road->tree.Root());
        QCOMPARE(std::count_if(whole.begin(), whole.end(),
                               [&](const auto& file) { return file.second == program; }),
                 std::ptrdiff_t(2));

        const std::vector<DWORD> before = road->Launchers();
        road->server.requests.clear();
        QVERIFY(road->Start());
        QVERIFY(road->Settles(1));
        QVERIFY(road->Launchers() != before);
        COMPARE_TREES(road->Installed(), road->published);
    }

    void boxes_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("running");
        QTest::addColumn<QString>("title");
        QTest::addColumn<int>("requests");
        QTest::newRow("a game runs") << Text(LauncherFolder) << "xTessaloomx.exe"
                                     << "Error" << 1;
        QTest::newRow("wrong folder, another launcher lives")
            << "Game/" << Text(LauncherName) << "TessaloomLauncher was not started in a correct directory"
            << 0;
    }
    // A temporary copy that can only tell the player why nothing happens: nothing changes, and it ends with
    // 0.
    void boxes()
    {
        QFETCH(QString, folder);
        QFETCH(QString, running);
        QFETCH(QString, title);
        QFETCH(int, requests);
        const TemporaryTree elsewhere;
        ChildProcess bystander(elsewhere.Path(running.toStdString()));
        QVERIFY(bystander.IsRunning());
        const std::string temporary = folder.toStdString() + TemporaryStem + "1/";
        QDir().mkpath(Text(road->tree.Path(temporary)));
        QVERIFY(QFile::copy(ROAD_LAUNCHER, Text(road->tree.Path(temporary + LauncherName))));
        const Tree before = TreeOf(road->tree.Root());

        QProcess launcher;
        road->Start(launcher, temporary);
        QVERIFY(road->Settles(static_cast<std::size_t>(requests)));
        if (CanPress())
            QVERIFY(Press(title, PressReturn));
        else
            End(road->Launchers().front());
        QVERIFY(launcher.waitForFinished());
        if (CanPress()) {
            QCOMPARE(launcher.exitStatus(), QProcess::NormalExit);
            QCOMPARE(launcher.exitCode(), 0);
        }
        COMPARE_TREES(TreeOf(road->tree.Root()), before);
        QVERIFY(bystander.IsRunning());
    }
};

LAUNCHER_TEST_MAIN(RoadTest)
#include "road_test.moc"
