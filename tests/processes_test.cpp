// Process names, and what counts as a running game. The game has a name of its own here, with this process's
// number in it: a real launcher on this machine neither disturbs the test nor is disturbed by it.
#include <algorithm>

#include <QFileInfo>

#include "processes/gameprocess.h"
#include "processes/processname.h"
#include "support/childprocess.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
const QString game = "Kachelspiel" + QString::number(GetCurrentProcessId());
constexpr char CopiedProgram[] = "KACHEL_COPIED_PROGRAM";
} // namespace

class ProcessesTest : public QObject
{
    Q_OBJECT

private slots:
    void gameProcess_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("counts");
        QTest::newRow("the game") << "x/" + game + ".exe" << true;
        QTest::newRow("a tool, another case") << "x/x" + game.toUpper() + "Tool" << true;
        QTest::newRow("lobby server") << "x/" + game.toLower() + "LobbyServer.exe" << false;
        QTest::newRow("login server, name behind") << "x/LOGINserver" + game + ".exe" << false;
        QTest::newRow("almost a server") << "x/" + game + "Lobby Server.exe" << true;
        QTest::newRow("in the folder only") << game + "/Kachel.exe" << false;
    }
    void gameProcess()
    {
        QFETCH(QString, path);
        const TemporaryTree tree;
        QVERIFY(WriteTree(tree.Root(), {{"x/", ""}, {game.toStdString() + "/", ""}}));
        DWORD id = 0;
        {
            ChildProcess child(tree.Path(path.toStdString()));
            id = child.Id();
            QCOMPARE(QString::fromStdString(ProcessName(id)), QFileInfo(path).fileName());
            QTEST(IsGameProcessRunning(game.toStdString()), "counts");
            const std::vector<DWORD> running = RunningProcesses();
            for (const auto& [process, times] : {std::pair(id, 1), {GetCurrentProcessId(), 1}, {DWORD(0), 0}})
                QCOMPARE(int(std::count(running.begin(), running.end(), process)), times);
        }
        QVERIFY(!IsGameProcessRunning(game.toStdString()));
        for (const DWORD gone : {id, DWORD(0), DWORD(0xFFFFFFFC)})
            QCOMPARE(ProcessName(gone).c_str(), "<unknown>");
    }

    void smallTable()
    {
        DWORD table[3] = {0, 0, 7};
        DWORD filled = 0;
        QVERIFY(EnumProcesses(table, 2 * sizeof(DWORD), &filled));
        QVERIFY(filled == 2 * sizeof(DWORD) && table[2] == 7);
    }

    // Run as a copy under a name that no other process has.
    void thisProcessDoesNotCount()
    {
        const QString self = QCoreApplication::applicationFilePath();
        const TemporaryTree tree;
        const QString copy = QString::fromStdString(tree.Path("")) + game + ".exe";
        if (qEnvironmentVariableIsSet(CopiedProgram))
            QVERIFY(!IsGameProcessRunning(QFileInfo(self).fileName().toStdString()));
        else
            QVERIFY(QFile::copy(self, copy) &&
                    PassesElsewhere(copy, "thisProcessDoesNotCount", CopiedProgram, "1"));
    }
};

LAUNCHER_TEST_MAIN(ProcessesTest)
#include "processes_test.moc"
