// What counts as a running game. The game has a name of its own here, with this process's number in it: a
// real launcher on this machine neither disturbs the test nor is disturbed by it.
#include "processes/processtable.h"
#include "support/childprocess.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
// So many processes, as long as the object lives.
struct ManyProcesses : QProcess
{
    explicit ManyProcesses(std::size_t count)
    {
        const char script[] = "for ((i = 0; i < $0; ++i)); do sleep 600 & done; echo; read; kill $(jobs -p)";
        start("bash", {"-c", script, QString::number(count)});
        waitForReadyRead();
    }
    ~ManyProcesses() override
    {
        closeWriteChannel();
        waitForFinished();
    }
};
} // namespace

class ProcessesTest : public QObject
{
    Q_OBJECT

    const TemporaryTree tree;
    const QString number = QString::number(GetCurrentProcessId());
    const std::string game = ("Boardgame" + number).toStdString();

private slots:
    void aGameIsKnownByItsFileName_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("isGame");
        QTest::newRow("the game") << "bin/Boardgame%1.exe" << true;
        QTest::newRow("a tool in another case") << "bin/xBOARDGAME%1.exe" << true;
        QTest::newRow("the lobby server") << "bin/Boardgame%1LobbyServer.exe" << false;
        QTest::newRow("the login server") << "bin/LOGINserverBoardgame%1.exe" << false;
        QTest::newRow("another program in a folder of the game's name") << "Boardgame%1/other.exe" << false;
    }
    void aGameIsKnownByItsFileName()
    {
        QFETCH(QString, path);
        path = path.arg(number);
        QVERIFY(QDir(tree.Root().c_str()).mkpath(path.section('/', 0, 0)));
        const ChildProcess child(tree.Path(path.toStdString()));
        const std::string name = ProcessName(static_cast<DWORD>(child.processId()));
        QCOMPARE(name.c_str(), qPrintable(path.section('/', 1)));
        QTEST(IsGameProcessRunning(game), "isGame");
    }

    void lookingForAGameLeavesNothingOpen()
    {
        if (IsWindows)
            QSKIP("The open files are counted in /proc.");
        const unsigned openFiles = OpenFiles();
        QVERIFY(!IsGameProcessRunning(game));
        QCOMPARE(OpenFiles(), openFiles);
    }

    void theTableHoldsTheFirst1024Processes()
    {
        if (IsWindows)
            QSKIP("Wine would need minutes for so many processes.");
        const ManyProcesses others(1010 - std::min<std::size_t>(RunningProcesses().size(), 1010));
        const ChildProcess last(tree.Path(game + ".exe"));
        QVERIFY(RunningProcesses().size() > 1010);
        QVERIFY(IsGameProcessRunning(game));
        const ManyProcesses more(50);
        QCOMPARE(RunningProcesses().size(), std::size_t(1024));
    }
};

QTEST_GUILESS_MAIN(ProcessesTest)
#include "processes_test.moc"
