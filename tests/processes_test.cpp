// What counts as a running game. The game has a name of its own here, with this process's number in it: a
// real launcher on this machine neither disturbs the test nor is disturbed by it.
#include <memory>

#include "processes/processtable.h"
#include "support/childprocess.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

class ProcessesTest : public QObject
{
    Q_OBJECT

    const TemporaryTree tree;
    const std::string game = "Boardgame" + std::to_string(GetCurrentProcessId());

private slots:
    void aGameIsKnownByItsFileName()
    {
        struct Row
        {
            const char* what;
            std::string path;
            bool isGame;
        };
        const Row rows[] = {
            {"the game", "bin/" + game + ".exe", true},
            {"a tool in another case", "bin/xBOARDGAME" + game.substr(9), true},
            {"the lobby server", "bin/" + game + "LobbyServer.exe", false},
            {"the login server", "bin/LOGINserver" + game + ".exe", false},
            {"another program in a folder of the game's name", game + "/other.exe", false},
        };
        QVERIFY(WriteTree(tree.Root(), {{"bin/", ""}, {game + "/", ""}}));
        const unsigned openFiles = OpenFiles();
        for (const Row& row : rows) {
            const ChildProcess child(tree.Path(row.path));
            QCOMPARE(ProcessName(static_cast<DWORD>(child.processId())),
                     row.path.substr(row.path.find('/') + 1));
            QVERIFY2(IsGameProcessRunning(game) == row.isGame, row.what);
        }
        QVERIFY(!IsGameProcessRunning(game));
        QCOMPARE(OpenFiles(), openFiles);
    }

    void aGameIsFoundAfterManyOtherProcesses()
    {
        std::vector<std::unique_ptr<ChildProcess>> others;
        for (int i = 0; i < 260; ++i)
            others.push_back(std::make_unique<ChildProcess>(tree.Path("other.exe")));
        const ChildProcess last(tree.Path(game + ".exe"));
        QVERIFY(IsGameProcessRunning(game));
    }
};

QTEST_GUILESS_MAIN(ProcessesTest)
#include "processes_test.moc"
