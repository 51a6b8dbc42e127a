// The window and its update cycle: which updates it refuses, its log and its tick, and how the program ends.
#include <ctime>

#include <QMetaEnum>
#include <QTextCodec>
#include <QWebEnginePage>

#include "support/childprocess.h"
#include "support/testmain.h"
#include "support/windowundertest.h"

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void aPageThatFailedShowsToo()
    {
        WindowUnderTest test;
        QWebEngineView& view = *test.OpenStill().ui->WebView;
        view.hide();
        emit view.page()->loadFinished(false);
        QVERIFY(view.isVisible());
    }

    void oneBoxWithAnErrorIconTellsThatAGameRuns()
    {
        if (IsWindows)
            QSKIP("The box is the system's own.");
        WindowUnderTest test;
        test.Publish({{"a.txt", "1"}});
        test.OpenStill().gameProcessRunning = true;
        QStringList boxes;
        QTimer looking;
        connect(&looking, &QTimer::timeout, [&] {
            if (auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                boxes += box->icon() == QMessageBox::Critical ? box->text() : "no error icon";
                QMetaObject::invokeMethod(box, "accept", Qt::QueuedConnection);
                QMetaObject::invokeMethod(test.window, "Update"); // opens no second one
            }
        });
        looking.start(200);
        const QDeadlineTimer limit(10000); // a second box would have nobody to close it
        test.window->updateTimer.start();
        QVERIFY(ProgramQuits() && !limit.hasExpired());
        QCOMPARE(boxes, {"An update was found but at least one Tessaloom process is already running.\n"
                         "Close all Tessaloom processes before starting the launcher again."});
    }

    void anotherRootIsRefusedBeforeAnyRequest_data()
    {
        QTest::addColumn<QString>("reason");
        QTest::newRow("folder") << "the launcher stands in \"ROOT\\Backup\" and not in ";
        QTest::newRow("code page") << "the path \"ROOT\" holds letters that this system does not read";
        QTest::newRow("home") << "the folder \"ROOT\" holds other things than the game, or can't be examined";
    }
    void anotherRootIsRefusedBeforeAnyRequest()
    {
        QFETCH(const QString, reason);
        const std::string row = QTest::currentDataTag();
        const char* const home = IsWindows ? "USERPROFILE" : "HOME";
        const QByteArray realHome = qgetenv(home);
        QTextCodec* const realCodec = QTextCodec::codecForLocale();
        WindowUnderTest test;
        test.OpenStill();
        if (row == "folder")
            QVERIFY(WriteTree(test.tree.Root(), Files({"Backup/"})) &&
                    QDir::setCurrent(test.tree.Path("Backup").c_str()));
        else if (row == "code page")
            QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
        else
            qputenv(home, test.tree.Root().c_str());
        const bool ended = test.Update({});
        qputenv(home, realHome);
        QTextCodec::setCodecForLocale(realCodec);
        QVERIFY(ended && test.Shows().last().startsWith("Refusing to update: " + reason));
        COMPARE_ALL(test.Shows().mid(0, 5) + test.server.requests, Offline("Refusing to update this folder"));
    }

    void anErrorIsNamedInTheLog()
    {
        WindowUnderTest test;
        test.OpenStill();
        const auto errors = QMetaEnum::fromType<QNetworkReply::NetworkError>();
        QStringList unnamed;
        for (int i = 1; i < errors.keyCount(); ++i) { // the first one is no error
            test.window->TransferFinished(nullptr, errors.value(i));
            unnamed += test.Shows().contains(errors.key(i)) ? QStringList() : QStringList(errors.key(i));
        }
        QCOMPARE(unnamed, QStringList({"HostNotFoundError", "TooManyRedirectsError", "InsecureRedirectError",
                                       "ContentConflictError", "ContentGoneError", "InternalServerError",
                                       "OperationNotImplementedError", "ServiceUnavailableError",
                                       "UnknownServerError"}));
    }

    void logLinesShowAfterAFifthOfASecondNewestFirst()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        window.Log("first");
        window.Log("Grüße");
        QList<int> rows;
        for (const double pause : {0.0, 0.02, 0.19}) { // seconds, which add up
            window.lastLogCheck -= pause;
            window.FlushLog(false);
            rows += window.logModel->rowCount();
        }
        QCOMPARE(rows, QList<int>({0, 0, 3}));
        const QString newest = window.logModel->stringList().first();
        const QString hour = QTime::currentTime().toString("HH"); // in a zone that is far from Greenwich's
        QVERIFY2(newest.startsWith("[" + hour + ":") && newest.mid(11) == "Grüße", qPrintable(newest));
    }

    void aCycleTicksFinelyFromItsStartAndAWindowAtRestDoesNot()
    {
        WindowUnderTest test;
        QMetaObject::invokeMethod(&test.OpenStill(), "Update");
        QVERIFY(test.window->size() == QSize(733, 451) && timerIsFine);
        COMPARE_ALL(test.Shows().mid(0, 5), QStringList({"status: Connecting to server...", "percentage: ",
                                                         "Play, disabled", "no bar, at 0", "patch notes"}));
        QVERIFY(test.Update({}));
        QTRY_VERIFY(!timerIsFine);
        const std::clock_t before = std::clock(); // of the processor; on Windows that on the wall
        QTest::qWait(400);
        QVERIFY(IsWindows || std::clock() - before < CLOCKS_PER_SEC / 4);
    }

    void aChangedLauncherIsStartedAndThisOneQuits()
    {
        WindowUnderTest test;
        const std::string report = test.tree.Path("report");
        qputenv(ReportVariable, report.c_str());
        test.Publish({{test.launcherFolder + "/TessaloomLauncher.exe", ReadFile(TEST_CHILD)}});
        test.OpenStill().updateTimer.start();
        QVERIFY(ProgramQuits());
        qunsetenv(ReportVariable);
        QCOMPARE(test.Shows().last(),
                 QString("Restarting launcher since the .exe file was updated: ") + LauncherFileName);
        const QString folder = QDir::toNativeSeparators(test.tree.Path(test.launcherFolder).c_str());
        QTRY_COMPARE(QString(ReadFile(report).c_str()), folder + "\n0 arguments");
    }
};

QTEST_MAIN(MainWindowTest)
#include "mainwindow_test.moc"
