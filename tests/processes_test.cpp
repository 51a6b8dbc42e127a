// What counts as a running game. The game has a name of its own here, with this process's number in it: a
// real launcher on this machine neither disturbs the test nor is disturbed by it.
#include "processes/processtable.h"
#include "support/childprocess.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

class ProcessesTest : public QObject
{
    Q_OBJECT

private slots:
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
};

QTEST_GUILESS_MAIN(ProcessesTest)
#include "processes_test.moc"
