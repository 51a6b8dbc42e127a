// The patch notes as rich text: what is shown of a page, and what stands there when it does not come.
#include <QtWidgets>
#include <QWebEnginePage>
#include <QWebEngineView>

#include "support/scriptedserver.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
const std::string picture = "P1 8 1 0 0 0 0 0 0 0 0"; // eight pixels wide
const std::string isHtml = "Content-Type: text/html; charset=ISO-8859-1\r\n";
QSslConfiguration own; // the server's certificate and key, made for this run

// The certificates of all connections from now on.
void Trust(const QList<QSslCertificate>& trusted)
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(trusted);
    QSslConfiguration::setDefaultConfiguration(configuration);
}

class TlsServer : public ScriptedServer
{
    void incomingConnection(qintptr handle) override
    {
        auto* const socket = new QSslSocket(this);
        socket->setSocketDescriptor(handle);
        socket->setSslConfiguration(own);
        socket->startServerEncryption();
        addPendingConnection(socket);
    }
};

// A view that loads a page of the server.
struct Visit
{
    Visit(const TlsServer& server, const QString& path)
        : base(QString(server.BaseUrl().c_str()).replace("http:", "https:"))
    {
        view->load(base + path);
    }

    const QString base;
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
        QCOMPARE(std::system("cd \"$FOLDER\" && openssl req -x509 -newkey rsa:2048 -nodes -subj /CN=test "
                             "-addext subjectAltName=IP:127.0.0.1 -keyout key -out certificate 2>log"),
                 0);
        own.setLocalCertificateChain(QSslCertificate::fromPath(tree.Path("certificate").c_str()));
        own.setPrivateKey(QSslKey(ReadFile(tree.Path("key")).c_str(), QSsl::Rsa));
    }

    void aPageShowsItsPicturesAndOpensItsLinksInTheBrowser()
    {
        TlsServer server;
        Trust(own.localCertificateChain());
        server.scripts["launcher.php"] = {302, "", "Location: notes/\r\n"};
        const std::string page =
            "<h1>M\xF6hre</h1><script>no</script><p><a href=more>more</a> and "
            "<a href='file:///x'>x</a><img src=picture>";
        server.scripts["notes/"] = {200, page, isHtml};
        server.scripts["notes/picture"].body = picture;
        Visit visit(server, "launcher.php");
        QVERIFY(visit.loaded.wait(10000) && visit.loaded[0][0].toBool());
        QCOMPARE(visit.text.toPlainText().left(10), QString("Möhre\nmore"));
        const QTextDocument& shown = *visit.text.document();
        const auto width = [&](const char* name) {
            return shown.resource(QTextDocument::ImageResource, QUrl(name)).value<QPixmap>().width();
        };
        QCOMPARE(width("picture"), 8);
        QCOMPARE(width("missing"), 1); // Qt would look on the disk for one without a size

        for (const char* scheme : {"https", "file"})
            QDesktopServices::setUrlHandler(scheme, this, "Open");
        visit.view->show();
        QApplication::setActiveWindow(visit.view.get());
        visit.text.setFocus();
        for (const Qt::Key pressed : {Qt::Key_Tab, Qt::Key_Return, Qt::Key_Tab, Qt::Key_Return})
            QTest::keyClick(&visit.text, pressed);
        QTest::mouseClick(visit.view->findChild<QPushButton*>(), Qt::LeftButton);
        QCOMPARE(opened, (QStringList{visit.base + "notes/more", visit.base + "notes/"}));
    }

    void aPageThatFailsSaysWhy()
    {
        struct Row
        {
            const char* name;
            Script page;
            bool ok;
            const char* shows;
        };
        const std::string large(4 * 1024 * 1024 + 1, ' ');
        const std::string tables = QByteArray("<table><tr><td>cell").repeated(200000).toStdString();
        const Row rows[] = {
            {"untrusted", {200, "<p>foreign", isHtml}, false, "could not prove who it is"},
            {"redirect to HTTP", {302, "", "Location: http://127.0.0.1:1/\r\n"}, false, "without HTTPS"},
            {"too large", {200, large, isHtml}, false, "larger than 4 MiB"},
            {"too slow", {200, "<p>half", isHtml, 5}, false, "longer than half a minute"},
            {"picture too slow", {200, "<p>all<img src=slow>", isHtml}, true, "all"},
            {"not HTML", {200, "PK", "Content-Type: application/zip\r\n"}, false, "no web page"},
            {"nested tables", {200, tables, isHtml}, true, "goes on in your browser"},
        };
        Trust({});
        for (const Row& row : rows) {
            TlsServer server;
            server.scripts["page"] = row.page;
            server.scripts["slow"] = {200, picture, "", 5};
            for (auto& [path, script] : server.scripts)
                script.stalls = script.sendOnly >= 0;
            Visit visit(server, "page");
            if (QString(row.name).endsWith("slow"))
                visit.view->page()->findChild<QTimer*>("", Qt::FindDirectChildrenOnly)->start(500);
            QVERIFY2(visit.loaded.wait(60000) && visit.loaded[0][0].toBool() == row.ok, row.name);
            const QString text = visit.text.toPlainText();
            QVERIFY2(text.contains(row.shows), qPrintable(row.name + (": " + text.left(200))));
            QVERIFY2(row.ok || text.contains(visit.base + "page"), row.name);
            Trust(own.localCertificateChain());
        }
    }

    void aViewThatClosesWhileItLoadsHearsNothing()
    {
        for (const char* stalling : {"page", "picture"}) {
            TlsServer server;
            server.scripts["page"] = {200, "<img src=picture>", isHtml};
            server.scripts["picture"].body = picture;
            server.scripts[stalling].sendOnly = 5;
            server.scripts[stalling].stalls = true;
            Visit visit(server, "page");
            QTRY_VERIFY(server.requests.contains(stalling));
            visit.view.reset();
            QTRY_COMPARE(server.running, 0);
            QCOMPARE(visit.loaded.size(), 0);
        }
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
