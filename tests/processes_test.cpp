// Process names, and what counts as a running game. The game has a name of its own here, with this process's
// number in it: a real launcher on this machine neither disturbs the test nor is disturbed by it.
#include <algorithm>

#include <QCoreApplication>
#include <QFileInfo>

#include "processes/gameprocess.h"
#include "processes/processname.h"
#include "support/childprocess.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
const std::string number = std::to_string(GetCurrentProcessId());
constexpr char CopiedProgram[] = "KACHEL_COPIED_PROGRAM";
} // namespace

class ProcessesTest : public QObject
{
    Q_OBJECT

private slots:
    void gameProcess_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("behind");
        QTest::addColumn<bool>("counts");
        QTest::newRow("the game") << "."
                                  << "Kachelspiel"
                                  << ".exe" << true;
        QTest::newRow("its launcher") << "."
                                      << "Kachelspiel"
                                      << "Launcher.exe" << true;
        QTest::newRow("a tool, another case") << "."
                                              << "xKACHELspiel"
                                              << "Tool" << true;
        QTest::newRow("lobby server") << "."
                                      << "kachelspiel"
                                      << "LobbyServer.exe" << false;
        QTest::newRow("login server, name behind") << "."
                                                   << "LOGINserverKachelspiel"
                                                   << ".exe" << false;
        QTest::newRow("almost a server") << "."
                                         << "Kachelspiel"
                                         << "Lobby Server.exe" << true;
        QTest::newRow("in the folder only") << "Kachelspiel"
                                            << "Kachel"
                                            << "spiel.exe" << false;
    }
    void gameProcess()
    {
        QFETCH(QString, folder);
        QFETCH(QString, before);
        QFETCH(QString, behind);
        QFETCH(bool, counts);
        const TemporaryTree tree;
        const std::string name = before.toStdString() + number + behind.toStdString();
        const std::string path = folder.toStdString() + (folder == "." ? "/" : number + "/") + name;
        QVERIFY(WriteTree(tree.Root(), {{path.substr(0, path.rfind('/') + 1), {}}}));

        {
            ChildProcess child(tree.Path(path));
            QVERIFY(child.IsRunning());
            QCOMPARE(QString::fromStdString(ProcessName(child.Id())), QString::fromStdString(name));
            QCOMPARE(IsGameProcessRunning("Kachelspiel" + number), counts);
        }
        QVERIFY(!IsGameProcessRunning("Kachelspiel" + number));
    }

    // Run as a copy under a name that no other process has.
    void thisProcessDoesNotCount()
    {
        const QString self = QCoreApplication::applicationFilePath();
        if (qEnvironmentVariableIsSet(CopiedProgram)) {
            const std::string name = ProcessName(GetCurrentProcessId());
            QCOMPARE(QString::fromStdString(name), QFileInfo(self).fileName());
            QVERIFY(!IsGameProcessRunning(name));
            return;
        }
        const TemporaryTree tree;
        const QString copy = QString::fromStdString(tree.Path("kachel " + number + ".exe"));
        QVERIFY(QFile::copy(self, copy));
        QVERIFY(PassesElsewhere(copy, "thisProcessDoesNotCount", CopiedProgram, "1"));
    }

    void processTable()
    {
        const TemporaryTree tree;
        DWORD id = 0;
        {
            ChildProcess child(tree.Path("kachel.exe"));
            id = child.Id();
            const std::vector<DWORD> running = RunningProcesses();
            QVERIFY(running.size() <= 1024);
            QCOMPARE(std::count(running.begin(), running.end(), DWORD(0)), std::ptrdiff_t(0));
            QCOMPARE(std::count(running.begin(), running.end(), GetCurrentProcessId()), std::ptrdiff_t(1));
            QCOMPARE(std::count(running.begin(), running.end(), id), std::ptrdiff_t(1));
        }
        const std::vector<DWORD> running = RunningProcesses();
        QVERIFY(std::find(running.begin(), running.end(), id) == running.end());
        for (const DWORD gone : {id, DWORD(0), DWORD(0xFFFFFFFC)})
            QCOMPARE(ProcessName(gone).c_str(), "<unknown>");
    }
};

LAUNCHER_TEST_MAIN(ProcessesTest)
#include "processes_test.moc"
