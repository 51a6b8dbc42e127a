// How a start is claimed and copied, which game counts as running, and how the application opens.
#include <filesystem>
#include <future>

#include <QtWidgets>

#include "gametree/strings.h"
#include "mainwindow/mainwindow.h"
#include "processes/processtable.h"
#include "startup/application.h"
#include "startup/launchercontext.h"
#include "startup/startclaim.h"
#include "support/childprocess.h"
#include "support/testmain.h"

using namespace std::chrono_literals;

class StartupTest : public QObject
{
    Q_OBJECT

    static inline const QByteArray foreignPlugins = QDir::tempPath().toLocal8Bit(); // exists

    // What was seen while the application ran.
    static inline QPalette palette;
    static inline QString pluginFolder;
    static inline bool windowWasComplete = false;
    static inline std::future<std::chrono::nanoseconds> timeBeforeTheWindow;

private slots:
    // Runs the application once, beside a refused start that lasts. Qt calls the function in the constructor
    // of the application object.
    void initTestCase()
    {
        const TemporaryTree tree;
        const ChildProcess refused(tree.Path(ProcessName(GetCurrentProcessId())));
        const std::string folder = "Game/TessaloomLauncher/Release/" + tempFolderStem + "1/";
        QVERIFY(WriteTree(tree.Root(), {{folder, ""}}) && QDir::setCurrent(tree.Path(folder).c_str()));
        fileListUrl = "http://127.0.0.1:1/";
        patchNotesUrl = "about:blank";
        qputenv("QT_QPA_PLATFORM_PLUGIN_PATH", foreignPlugins);
        qAddPreRoutine([] {
            const auto start = std::chrono::steady_clock::now();
            timeBeforeTheWindow = std::async(std::launch::async, [start] {
                // The window leaves it, and may be gone when this looks again.
                while (QDir::current().dirName() == (tempFolderStem + "1").c_str())
                    QThread::msleep(10);
                return std::chrono::steady_clock::now() - start;
            });
            QTimer::singleShot(100, qApp, [] {
                palette = QApplication::palette();
                const MainWindow& window = *LauncherContext::Instance().window;
                windowWasComplete =
                    window.isVisible() && (IsWindows || !window.windowIcon().availableSizes().isEmpty());
                pluginFolder = QDir(QCoreApplication::libraryPaths().first()).dirName();
                QCoreApplication::quit();
            });
        });
        RunApplication(LauncherContext::Instance());
        QVERIFY(windowWasComplete);
    }

    // Until then they would count as a running game, and the window asks for that once.
    void theWindowComesAfterRefusedStartsHaveEnded()
    {
        QVERIFY(timeBeforeTheWindow.get() > 900ms);
    }

    void theApplicationIsDark()
    {
        QCOMPARE(palette.color(QPalette::Window).name(), QString("#353535"));
        QCOMPARE(palette.color(QPalette::Disabled, QPalette::Button).name(), QString("#787878"));
        QCOMPARE(palette.color(QPalette::Disabled, QPalette::ButtonText).name(), QString("#c8c8c8"));
    }

    // Another program has set the variable for the whole system. The game inherits it.
    void theLaunchersOwnPluginsAreUsed()
    {
        QCOMPARE(pluginFolder, QString((tempFolderStem + "1").c_str()));
        QCOMPARE(qgetenv("QT_QPA_PLATFORM_PLUGIN_PATH"), foreignPlugins);
    }

    // The game has a name with this process's number: a real launcher neither disturbs this nor is disturbed.
    void aGameIsKnownByItsFileName()
    {
        const TemporaryTree tree;
        const std::string number = std::to_string(GetCurrentProcessId()), game = "Boardgame" + number;
        for (const auto& [file, isGame] :
             std::map<std::string, bool>{{game + ".exe", true},
                                         {"a tool, xBOARDGAME" + number + ".exe", true},
                                         {game + "LobbyServer.exe", false},
                                         {"LOGINserver" + game + ".exe", false}}) {
            const ChildProcess child(tree.Path(file));
            QFile::remove(tree.Path(file).c_str()); // as an update may; Windows refuses it
            QCOMPARE(ProcessName(static_cast<DWORD>(child.processId())), file);
            QVERIFY2(IsGameProcessRunning(game) == isGame, file.c_str());
        }
    }

    void aCopyIsCompleteOrIsNotMade()
    {
        const TemporaryTree tree;
        Tree files = {{"long", "long content"}, {"short", "x"}, {"in/", ""}};
        files["large"] = std::string(2500000, 'x'); // bytes, more than a copy has in hand at once
        QVERIFY(WriteTree(tree.Root(), files));
        const std::string root = tree.WindowsRoot() + "\\";
        const auto copies = [&](const char* from, const char* to) {
            return CopyFileA((root + from).c_str(), (root + to).c_str(), FALSE) != 0;
        };
        QVERIFY(copies("large", "in\\nöw") && copies("short", "long"));
        QVERIFY(!copies("long", "in\\..\\long")); // the file itself, which must not be emptied
        QVERIFY(!copies("long", "in") && !copies("in", "new"));
        QVERIFY(!CopyFileA("\\proc\\self\\mem", (root + "half").c_str(), FALSE)); // opens, but can't be read
        files["in/nöw"] = files["large"];
        files["long"] = "x";
        COMPARE_ALL(TreeOf(tree.Root()), files);
    }

    // The last one, since the temporary folder that it sets is deleted with it.
    void aYoungClaimRefusesAStartWhileAnotherInstanceRuns()
    {
        const TemporaryTree tree, temporary;
        ChildProcess other(tree.Path(ProcessName(GetCurrentProcessId())));
        qputenv(TemporaryFolderVariable, temporary.Root().c_str());
        const std::string launcherFolder = temporary.WindowsRoot();
        QVERIFY(ClaimStart(launcherFolder) && ClaimStart(launcherFolder + "\\x"));
        EndStartClaim(launcherFolder + "\\x\\");
        const QFileInfoList claims = QDir(temporary.Root().c_str()).entryInfoList(QDir::Files);
        QCOMPARE(claims.size(), 1);
        const auto claim = std::filesystem::u8path(claims[0].filePath().toStdString());
        const auto now = std::filesystem::file_time_type::clock::now;
        for (const auto age : {32s, -32s, 28s}) {
            std::filesystem::last_write_time(claim, now() - age);
            const bool isYoung = age == 28s;
            QCOMPARE(ClaimStart(launcherFolder), !isYoung);
            QCOMPARE(std::chrono::abs(now() - std::filesystem::last_write_time(claim)) < 20s, !isYoung);
        }

        auto waited = std::async(std::launch::async, WaitForRefusedStarts);
        QVERIFY(waited.wait_for(200ms) == std::future_status::timeout);
        other.kill();
        QVERIFY(other.waitForFinished(5000));
        QVERIFY(waited.wait_for(500ms) == std::future_status::ready); // not the complete second
    }
};

// Without an application object, as the launcher starts.
QTEST_APPLESS_MAIN(StartupTest)
#include "startup_test.moc"
