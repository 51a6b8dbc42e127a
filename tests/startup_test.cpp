// How a start relays to a temporary copy, ends older launchers and counts time. The processes are real.
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include "gametree/layout.h"
#include "helpers/files.h"
#include "processes/processname.h"
#include "startup/launchercontext.h"
#include "startup/relay.h"
#include "startup/staleinstances.h"
#include "startup/steadyclock.h"
#include "startup/strings.h"
#include "support/childprocess.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
constexpr char ReportVariable[] = "KACHEL_REPORT";
constexpr char CopiedProgram[] = "KACHEL_COPIED_PROGRAM";

// The files and folders at these paths, with bars between; `#` stands for the stem of the temporary folders.
// Every file holds the path at which it stands.
Tree Standing(QString paths)
{
    Tree tree;
    for (const QString& path : paths.replace("#", QString::fromStdString(tempFolderStem)).split("|")) {
        if (!path.isEmpty())
            tree[path.toStdString()] = path.endsWith('/') ? std::string() : path.toStdString();
    }
    return tree;
}
} // namespace

class StartupTest : public QObject
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        qunsetenv(ReportVariable);
    }

    // The program to start is there in every row.
    void relay_data()
    {
        QTest::addColumn<QString>("spared");
        QTest::addColumn<QString>("removed");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("copied");

        QTest::newRow("subfolders, gaps, plain files in the way")
            << "libgröße.so|a "
               "b|sub/|sub/data|platforms/|platforms/plugin.so|platforms/sub/|platforms/sub/x|#1|#2|#4"
            << "#3/|#3/sub/|#3/sub/old|#9/|#10/|#10/old" << 3
            << "libgröße.so|a b|platforms/plugin.so|#1|#2|#4";
        QTest::newRow("beyond ten") << "#1|#2|#3|#4|#5|#6|#7|#8|#9|#10|#11/|#11/old|#/|#02/"
                                    << "" << 12 << "#1|#2|#3|#4|#5|#6|#7|#8|#9|#10";
    }
    void relay()
    {
        QFETCH(QString, spared);
        QFETCH(QString, removed);
        QFETCH(int, number);
        QFETCH(QString, copied);
        const TemporaryTree tree;
        const TemporaryTree reports;
        const std::string report = reports.Path("report");
        qputenv(ReportVariable, QByteArray::fromStdString(report));
        QVERIFY(WriteTree(tree.Root(), Standing(spared + "|" + removed)));
        QVERIFY(CopyChildProgram(tree.Path(LauncherFileName)));
        const std::string program = ReadFile(tree.Path(LauncherFileName));

        const std::string folder = tempFolderStem + std::to_string(number);
        Tree expected = Standing(spared);
        expected[folder + "/"];
        expected[folder + "/platforms/"];
        for (const auto& [path, content] : Standing(copied))
            expected[folder + "/" + path] = content;
        for (const std::string& path : {std::string(LauncherFileName), folder + "/" + LauncherFileName})
            expected[path] = program;

        const QString directory = QDir::currentPath();
        QDir::setCurrent(QString::fromStdString(tree.Root()));
        Relay(CurrentDirectory());
        const QString endedIn = QDir::currentPath();
        QDir::setCurrent(directory);

        const Tree result = TreeOf(tree.Root());
        QVERIFY2(result == expected, Readable(result).c_str());
        QCOMPARE(endedIn, QString::fromStdString(tree.Path(folder)));
        // The copy runs in its own folder and gets no arguments.
        QTRY_VERIFY(PathExists(report));
        const std::string startedIn = QDir::toNativeSeparators(endedIn).toStdString();
        QCOMPARE(ReadFile(report).c_str(), (startedIn + "\n0 arguments").c_str());
    }

    // In a process of a name that no other has: a second run of this test is not to be ended.
    void olderInstances()
    {
        const QString self = QCoreApplication::applicationFilePath();
        if (!qEnvironmentVariableIsSet(CopiedProgram)) {
            const TemporaryTree tree;
            const QString copy =
                QString::fromStdString(tree.Path("kachel " + std::to_string(GetCurrentProcessId()) + ".exe"));
            QVERIFY(QFile::copy(self, copy));
            QVERIFY(PassesElsewhere(copy, "olderInstances", CopiedProgram, "1"));
            return;
        }
        const std::string name = QFileInfo(self).fileName().toStdString();
        const TemporaryTree tree;
        QVERIFY(WriteTree(tree.Root(), {{"a/", {}}, {"b/", {}}, {"c/", {}}}));
        ChildProcess same(tree.Path("a/" + name));
        ChildProcess another(tree.Path("b/x" + name));
        ChildProcess inCapitals(tree.Path("c/" + QString::fromStdString(name).toUpper().toStdString()));
        QVERIFY(same.IsRunning() && another.IsRunning() && inCapitals.IsRunning());

        TerminateOtherInstances();
        QVERIFY(same.WaitForEnd());
        QTest::qWait(200);
        QVERIFY(another.IsRunning() && inCapitals.IsRunning());
    }

    void clockAndContext()
    {
        const SteadyClock& clock = SteadyClock::Instance();
        const double before = clock.Seconds();
        QTest::qSleep(100);
        const double elapsed = clock.Seconds() - before;
        QVERIFY2(elapsed >= 0.09 && elapsed < 10, qPrintable(QString::number(elapsed)));
        QCOMPARE(&SteadyClock::Instance(), &clock);
        SteadyClock::Release();
        SteadyClock::Release();
        QVERIFY(SteadyClock::Instance().Seconds() < 0.1);

        LauncherContext& context = LauncherContext::Instance();
        QVERIFY(!context.closing && !context.window);
        QCOMPARE(&LauncherContext::Instance(), &context);
    }
};

LAUNCHER_TEST_MAIN(StartupTest)
#include "startup_test.moc"
