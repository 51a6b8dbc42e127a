// Process names, and what counts as a running game. The game has a name of its own here, with this process's
// number in it: a real launcher on this machine neither disturbs the test nor is disturbed by it.
#include <memory>

#include "processes/gameprocess.h"
#include "processes/processname.h"
#include "support/childprocess.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
const std::string game = "Boardgame" + std::to_string(GetCurrentProcessId());

struct ProcessRow
{
    const char* name;
    std::string path;
    bool isGame;
};
const ProcessRow processRows[] = {
    {"the game", "bin/" + game + ".exe", true},
    {"a tool of the game in another case", "bin/x" + QString::fromStdString(game).toUpper().toStdString(),
     true},
    {"the lobby server", "bin/" + game + "LobbyServer.exe", false},
    {"the login server", "bin/LOGINserver" + game + ".exe", false},
    {"a program in a folder of the game's name", game + "/other.exe", false},
};
} // namespace

class ProcessesTest : public QObject
{
    Q_OBJECT

private slots:
    void aGameIsKnownByItsFileName()
    {
        const TemporaryTree tree;
        QVERIFY(WriteTree(tree.Root(), {{"bin/", ""}, {game + "/", ""}}));
        for (const ProcessRow& row : processRows) {
            const ChildProcess child(tree.Path(row.path));
            QCOMPARE(ProcessName(child.Id()), row.path.substr(row.path.find('/') + 1));
            QVERIFY2(IsGameProcessRunning(game) == row.isGame, row.name);
        }
    }

    void aGameIsFoundBehindManyOtherProcesses()
    {
        if (IsWindows)
            QSKIP("Wine takes minutes for so many processes.");
        const TemporaryTree tree;
        std::vector<std::unique_ptr<ChildProcess>> others;
        for (int i = 0; i < 300; ++i)
            others.push_back(std::make_unique<ChildProcess>(tree.Path("other.exe")));
        const ChildProcess last(tree.Path(game));
        QVERIFY(RunningProcesses().size() > 300);
        QVERIFY(IsGameProcessRunning(game));
    }
};

QTEST_GUILESS_MAIN(ProcessesTest)
#include "processes_test.moc"
