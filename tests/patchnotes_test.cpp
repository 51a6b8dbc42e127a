// The patch notes as rich text: what is shown of a page, and what stands there when it does not come.
#include <QtWidgets>
#include <QWebEnginePage>
#include <QWebEngineView>

#include "support/scriptedserver.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
const std::string isHtml = "Content-Type: text/html; charset=ISO-8859-1\r\n";
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
        QCOMPARE(std::system("cd \"$FOLDER\" && openssl req -x509 -newkey rsa:2048 -nodes -subj /CN=test "
                             "-addext subjectAltName=IP:127.0.0.1 -keyout key -out certificate 2>log"),
                 0);
        own.setLocalCertificateChain(QSslCertificate::fromPath(tree.Path("certificate").c_str()));
        own.setPrivateKey(QSslKey(ReadFile(tree.Path("key")).c_str(), QSsl::Rsa));
    }

    void aPageShowsItsPicturesAndOpensItsLinksInTheBrowser()
    {
        TlsServer server;
        server.scripts["launcher.php"] = {302, "", "Location: notes/\r\n"};
        server.scripts["notes/"] = {
            200, "<h1>M\xF6hre</h1><a href=more>more</a><img src=picture><img src=missing>", isHtml};
        server.scripts["notes/picture"].body = "P1 8 1 0 0 0 0 0 0 0 0"; // eight pixels wide
        server.scripts["notes/missing"] = {404};
        server.scripts["notes/missing"].delay = 200; // the last one
        Visit visit(server.base + "launcher.php");
        QVERIFY(visit.loaded.wait(10000) && visit.loaded[0][0].toBool());
        QCOMPARE(visit.text.toPlainText().left(10), QString("Möhre\nmore"));
        const auto picture = visit.text.document()->resource(QTextDocument::ImageResource, QUrl("picture"));
        QCOMPARE(picture.value<QPixmap>().width(), 8);

        for (const char* scheme : {"https", "file"})
            QDesktopServices::setUrlHandler(scheme, this, "Open");
        for (const char* link : {"more", "file:///x"})
            emit visit.text.anchorClicked(QUrl(link));
        QTest::mouseClick(visit.view->findChild<QPushButton*>(), Qt::LeftButton);
        QCOMPARE(opened, (QStringList{server.base + "notes/more", server.base + "notes/"}));
    }

    void aPageThatFailsSaysWhy()
    {
        const struct
        {
            const char* name;
            Script page;
            const char* shows;
            QList<QSslCertificate> trusted = own.localCertificateChain();
        } rows[] = {
            {"untrusted", {200, "<p>foreign", isHtml}, "could not prove who it is", {}},
            {"redirect to HTTP", {302, "", "Location: http://127.0.0.1:1/\r\n"}, "without HTTPS"},
            {"too large", {200, std::string(4 * 1024 * 1024 + 1, ' '), isHtml}, "larger than 4 MiB"},
            {"not HTML", {200, "PK", "Content-Type: application/zip\r\n"}, "no web page"},
        };
        for (const auto& row : rows) {
            TlsServer server;
            server.scripts["page"] = row.page;
            Visit visit(server.base + "page", row.trusted);
            QVERIFY2(visit.loaded.wait(60000) && !visit.loaded[0][0].toBool(), row.name);
            const QString text = visit.text.toPlainText();
            QVERIFY2(text.contains(row.shows) && text.contains(server.base + "page"), row.name);
        }
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

        server.scripts["again"] = server.scripts["page"];
        server.scripts["pictures"] = {200, "<img src=page><img src=again>", isHtml};
        Visit pictures(server.base + "pictures");
        QTRY_COMPARE(server.running, 2);
        pictures.view->page()->findChild<QTimer*>("", Qt::FindDirectChildrenOnly)->start(500);
        QVERIFY(pictures.loaded.wait(60000) && pictures.loaded[0][0].toBool());

        Visit closed(server.base + "page");
        QTRY_COMPARE(server.running, 1);
        closed.view.reset();
        QTRY_COMPARE(server.running, 0);
        QCOMPARE(closed.loaded.size(), 0);
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
