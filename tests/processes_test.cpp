// What counts as a running game. The game has a name of its own here, with this process's number in it: a
// real launcher on this machine neither disturbs the test nor is disturbed by it.
#include "processes/processtable.h"
#include "support/childprocess.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
const std::string Number = std::to_string(GetCurrentProcessId());
const std::string Game = "Boardgame" + Number;

struct ProgramRow
{
    const char* name;
    std::string file;
    bool isGame;
};
const ProgramRow programRows[] = {
    {"the game", Game + ".exe", true},
    {"a tool in another case", "xBOARDGAME" + Number + ".exe", true},
    {"the lobby server", Game + "LobbyServer.exe", false},
    {"the login server", "LOGINserver" + Game + ".exe", false},
};
} // namespace

class ProcessesTest : public QObject
{
    Q_OBJECT

    const TemporaryTree tree;

private slots:
    void aGameIsKnownByItsFileName()
    {
        for (const ProgramRow& row : programRows) {
            const ChildProcess child(tree.Path(row.file));
            QCOMPARE(ProcessName(static_cast<DWORD>(child.processId())), row.file);
            QVERIFY2(IsGameProcessRunning(Game) == row.isGame, row.name);
        }
    }

    void theTableHoldsTheFirst1024Processes()
    {
        if (IsWindows)
            QSKIP("Wine would need minutes for so many processes.");
        QProcess others;
        others.start("bash", {"-c", "for i in {1..1050}; do sleep 600 & done; echo; read; kill $(jobs -p)"});
        others.waitForReadyRead();
        const std::size_t count = RunningProcesses().size();
        others.closeWriteChannel();
        others.waitForFinished();
        QCOMPARE(count, std::size_t(1024));
    }
};

QTEST_GUILESS_MAIN(ProcessesTest)
#include "processes_test.moc"
