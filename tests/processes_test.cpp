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
