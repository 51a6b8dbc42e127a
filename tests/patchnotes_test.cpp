// The patch notes as rich text: what is shown of a page, and what stands there when it does not come.
#include <QtWidgets>
#include <QWebEnginePage>
#include <QWebEngineView>

#include "support/scriptedserver.h"
#include "support/testmain.h"

namespace {
const std::string isHtml = "Content-Type: text/html\r\n";
const std::string isLatin = "Content-Type: text/html; charset=ISO-8859-1\r\n";
const std::string longPage = QString("<p>").repeated(20000).toStdString();
const struct
{
    const char* name;
    Script page;
    QString says; // in one of its lines
    bool comes = false;
} pages[] = {
    {"charset in the header", {200, "<p>M\xF6hre", isLatin}, "Möhre", true},
    {"charset in the page", {200, "<meta charset=ISO-8859-1><p>M\xF6hre", isHtml}, "Möhre", true},
    {"no charset", {200, "<p>M\xC3\xB6hre", isHtml}, "Möhre", true},
    {"long", {200, longPage, isHtml}, "The page goes on in your browser.", true},
    {"larger", {200, std::string(4 * 1024 * 1024 + 1, ' '), isHtml}, "They are larger than 4 MiB."},
    {"absent", {404}, "Their server does not have the page."},
    {"broken off", {200, "<p>half", isHtml, 3}, "The connection to their server broke off."},
    {"not HTML", {200, "PK", "Content-Type: text/x\r\n"}, "What their server sent is no web page."},
    {"moved", {302, "", "Location: http://[::1]/\r\n"}, "They have moved to an address without HTTPS."},
    {"no server", {0}, "Their server does not answer."},
};
QSslConfiguration own; // the server's certificate and key, made for this run

struct TlsServer : ScriptedServer
{
    const QString base = QString(BaseUrl().c_str()).replace("http:", "https:");

    void incomingConnection(qintptr handle) override
    {
        auto* const socket = new QSslSocket(this);
        socket->setSocketDescriptor(handle);
        socket->setSslConfiguration(own);
        socket->startServerEncryption();
        addPendingConnection(socket);
    }
};

struct Visit
{
    Visit(const QString& page, const QList<QSslCertificate>& trusted = own.localCertificateChain())
    {
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setCaCertificates(trusted);
        QSslConfiguration::setDefaultConfiguration(configuration);
        view->load(page);
    }

    std::unique_ptr<QWebEngineView> view = std::make_unique<QWebEngineView>();
    QTextBrowser& text = *view->findChild<QTextBrowser*>();
    QSignalSpy loaded{view->page(), &QWebEnginePage::loadFinished};
};
} // namespace

class PatchNotesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const TemporaryTree tree;
        qputenv("FOLDER", tree.Root().c_str());
        QCOMPARE(std::system(
                     "cd \"$FOLDER\" && openssl req -x509 -newkey rsa:2048 -nodes -subj /CN=test "
                     "-addext subjectAltName=IP:127.0.0.1,DNS:localhost -keyout key -out certificate 2>log"),
                 0);
        own.setLocalCertificateChain(QSslCertificate::fromPath(tree.Path("certificate").c_str()));
        own.setPrivateKey(QSslKey(ReadFile(tree.Path("key")).c_str(), QSsl::Rsa));
    }

    void aPageShowsItsPicturesAndOpensItsLinksInTheBrowser()
    {
        TlsServer server;
        const QString there = QString(server.base).replace("127.0.0.1", "localhost") + "notes/";
        server.scripts["launcher.php"] = {302, "", "Location: " + there.toStdString() + "\r\n"};
        server.scripts["notes/"] = {200,
                                    "<head><link rel=stylesheet type=text/css href=style></head>"
                                    "<body bgcolor=black><h1>News</h1><a href=more>more</a><img src=picture>"
                                    "<img src=missing><p style='margin-top: 999px'><a name=end>end</a>",
                                    isHtml};
        server.scripts["notes/style"].body = "h1 { color: #abcdef }";
        server.scripts["notes/picture"].body =
            "P1 8 1 0 0 0 0 0 0 0 0" + std::string(5000000, ' '); // eight pixels wide
        server.scripts["notes/missing"] = {404};
        server.scripts["notes/missing"].delay = 200; // the last one
        Visit visit(server.base + "launcher.php");
        QVERIFY(visit.loaded.wait(10000) && visit.loaded[0][0].toBool());
        QTextDocument& notes = *visit.text.document();
        const QString shown = notes.toHtml();
        QVERIFY(shown.contains("font-size:12pt;") &&
                shown.contains("font-size:32px; font-weight:600; color:#abcdef;\">News"));
        QCOMPARE(notes.resource(QTextDocument::ImageResource, QUrl("picture")).value<QPixmap>().width(), 8);
        QCOMPARE(visit.text.palette().color(QPalette::Text), QColor(Qt::white)); // for the marks of lists

        for (const char* scheme : {"https", "file", "mailto"})
            QDesktopServices::setUrlHandler(scheme, this, "Open");
        visit.view->show();
        const QPoint more = visit.text.cursorRect(notes.find("more")).center() - QPoint(3, 0);
        QTest::mouseClick(visit.text.viewport(), Qt::LeftButton, {}, more);
        for (const char* link : {"file:///x", "mailto:x", "#end"})
            emit visit.text.anchorClicked(QUrl(link));
        QTest::mouseClick(visit.view->findChild<QPushButton*>(), Qt::LeftButton);
        QCOMPARE(opened, (QStringList{there + "more", there}));
        // The page stays, and the link in it leads to its place.
        QVERIFY(visit.text.document() == &notes && visit.text.verticalScrollBar()->value() > 0);
    }

    ROWS(aPageIsShownOrSaysWhyNot, pages)
    void aPageIsShownOrSaysWhyNot()
    {
        const auto& row = CurrentRow(pages);
        TlsServer server;
        server.scripts["page"] = row.page;
        const QString address = (row.page.status != 0 ? server.base : "https://127.0.0.1:1/") + "page";
        Visit visit(address);
        QVERIFY(visit.loaded.wait(60000) && visit.loaded[0][0].toBool() == row.comes);
        const QStringList lines = visit.text.toPlainText().split('\n');
        QVERIFY2(lines.contains(row.says), qPrintable(lines.join('\n')));
        QVERIFY(row.comes || lines.last().contains(address));
    }

    void aForeignServerIsNotTrusted()
    {
        TlsServer server;
        Visit visit(server.base, {});
        QVERIFY(visit.loaded.wait(60000) && visit.text.toPlainText().contains("could not prove who it is"));
        QVERIFY(server.requests.isEmpty());
    }

    void aPageThatStallsCanBeGivenUpAndClosed()
    {
        TlsServer server;
        server.scripts["page"] = {200, "<p>half", isHtml, 5};
        server.scripts["page"].stalls = true;
        Visit visit(server.base + "page");
        visit.view->page()->findChild<QTimer*>("", Qt::FindDirectChildrenOnly)->start(500);
        QVERIFY(visit.loaded.wait(60000) && !visit.loaded[0][0].toBool());
        QVERIFY(visit.text.toPlainText().contains("longer than half a minute"));

        Visit closed(server.base + "page");
        QTRY_COMPARE(server.running, 1);
        closed.view.reset();
        QTRY_COMPARE(server.running, 0);
    }

private:
    Q_INVOKABLE void Open(const QUrl& url)
    {
        opened += url.toString();
    }

    QStringList opened;
};

QTEST_MAIN(PatchNotesTest)
#include "patchnotes_test.moc"
