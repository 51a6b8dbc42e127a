// Endurance, for ./test --soak: what single bad days do not show, in minutes of them.
#include <random>

#include <QProcess>

#include "makelist/makelist.h"
#include "processes/processname.h"
#include "support/testmain.h"
#include "support/windowundertest.h"

namespace {
const std::string LauncherProgram = "Game/TessaloomLauncher/Release/TessaloomLauncher.exe";

// Kills the launchers that run below this folder, and no others.
bool KillLaunchers(const TemporaryTree& tree)
{
    const auto isOurs = [&](DWORD process) {
        const QString program = QFileInfo("/proc/" + QString::number(process) + "/exe").symLinkTarget();
        return program.startsWith(QString::fromStdString(tree.Root()));
    };
    return QTest::qWaitFor([&] {
        bool found = false;
        for (const DWORD process : RunningProcesses()) {
            const HANDLE handle = isOurs(process) ? OpenProcess(PROCESS_TERMINATE, FALSE, process) : nullptr;
            if (handle == nullptr)
                continue;
            found = true;
            TerminateProcess(handle, 0);
            CloseHandle(handle);
        }
        return !found;
    });
}

// The tree without temporary folders.
Tree Installed(const TemporaryTree& tree)
{
    Tree installed;
    for (const auto& [path, content] : TreeOf(tree.Root())) {
        if (path.find("LAUNCHER_TEMP_EXE_FOLDER") == std::string::npos)
            installed[path] = content;
    }
    return installed;
}
} // namespace

class SoakTest : public QObject
{
    Q_OBJECT

    std::mt19937 random;
    int Below(int limit)
    {
        return std::uniform_int_distribution<int>(0, limit - 1)(random);
    }

private slots:
    void initTestCase()
    {
        const unsigned seed = std::random_device()();
        qInfo("seed %u", seed);
        random.seed(seed);
    }

    // The real executable, killed at any moment: the next start heals the tree.
    void killedAtRandom()
    {
        const TemporaryTree web, tree, said;
        Tree files = {{LauncherProgram, ReadFile(ROAD_LAUNCHER)}};
        for (int i = 0; i < 80; ++i)
            files["Sets/Set " + std::to_string(i % 7) + "/" + std::to_string(i) + ".map"] =
                std::string(1000 * i, 'n');
        QVERIFY(WriteTree(web.Root(), files) &&
                WriteTree(tree.Root(), {{"Sets/", ""}, {LauncherProgram, files[LauncherProgram]}}));
        QVERIFY(QFile::setPermissions(QString::fromStdString(tree.Path(LauncherProgram)),
                                      QFile::Permissions(0x7755)));
        const Tree published = TreeOf(web.Root());
        ScriptedServer server(ROAD_PORT);
        Remarks remarks;
        server.scripts["List.txt"].body = MakeList(web.WindowsRoot(), remarks, [](auto...) {});
        for (const auto& [path, content] : files) {
            Script& script = server.scripts[QUrl(QString::fromStdString(path)).toEncoded().toStdString()];
            script.body = content;
            script.piece = 10000;
            script.pause = 10;
        }
        const auto start = [&] {
            QProcess process;
            process.setWorkingDirectory(QFileInfo(QString::fromStdString(tree.Path(LauncherProgram))).path());
            process.setStandardErrorFile(QString::fromStdString(said.Path("errors")), QIODevice::Append);
            process.start(QString::fromStdString(tree.Path(LauncherProgram)), QStringList());
            server.requests.clear();
            return process.waitForFinished();
        };
        int unfinished = 0;
        for (int round = 0; round < 50; ++round) {
            for (const auto& [path, content] : files) {
                if (path != LauncherProgram && Below(2) == 0)
                    QVERIFY(WriteFile(tree.Path(path), "old"));
            }
            QVERIFY(WriteFile(tree.Path("unlisted/" + std::to_string(round) + ".x"), "extra"));
            QVERIFY(start());
            const std::size_t requests = static_cast<std::size_t>(Below(30)); // none: before the list
            QVERIFY(QTest::qWaitFor([&] { return server.requests.size() >= requests; }, 30000));
            QTest::qWait(Below(40));
            QVERIFY(KillLaunchers(tree));
            unfinished += Installed(tree) != published;

            QVERIFY(start());
            const bool healed =
                QTest::qWaitFor([&] { return Installed(tree) == published && server.running == 0; }, 60000);
            QVERIFY2(healed, Readable(Installed(tree)).c_str());
            QVERIFY(KillLaunchers(tree));
        }
        qInfo("%d of 50 updates were killed before their end", unfinished);
        QVERIFY(unfinished >= 25);
        const std::string errors = ReadFile(said.Path("errors"));
        QVERIFY2(errors.find("Sanitizer") == std::string::npos &&
                     errors.find("runtime error") == std::string::npos,
                 errors.c_str());
    }

    // One request in a hundred fails: each start brings the tree nearer.
    void failingServer()
    {
        WindowUnderTest test;
        Tree published = {{"Sets/", ""}};
        for (int i = 0; i < 3000; ++i)
            published["Sets/" + std::to_string(i) + ".map"] = std::to_string(i);
        int starts = 0;
        for (; test.GameTree() != published; ++starts) {
            QVERIFY(starts < 300);
            test.server.scripts.clear();
            test.Publish(published);
            for (auto& [path, script] : test.server.scripts) {
                const int fault = Below(300);
                if (fault == 0)
                    script.status = 500;
                else if (fault <= 2)
                    script.sendOnly = 0;
                if (fault == 2)
                    script.end = Script::End::Reset;
            }
            test.StartAnew();
            test.Open();
            QVERIFY(
                QTest::qWaitFor([&] { return test.CycleEnded() && test.window->transfers.empty(); }, 300000));
            QVERIFY(test.GameTree().size() <= published.size());
        }
        qInfo("%d starts", starts);
        QCOMPARE(updateState, UpdateState::UpToDate);
    }
};

LAUNCHER_TEST_MAIN(SoakTest)
#include "soak_test.moc"
