// What stands in for Qt's web engine where a build has none: its two classes by their own names, with the
// operations that the window uses. This one fetches the patch notes and makes Qt's rich text of them, the
// view shows it.
#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QUrl>
#include <QVariant>

class QNetworkAccessManager;
class QNetworkReply;
class QTextDocument;
class QTimer;

// One page with its pictures and style sheets, over HTTPS and with certificates checked. Owned by its view.
class QWebEnginePage : public QObject
{
    Q_OBJECT

public:
    explicit QWebEnginePage(QObject* parent);

    // Begins to fetch the page. Called once. "about:blank" is an empty page.
    void load(const QUrl& url);

    // The address, after redirects once the page has come.
    const QUrl& url() const
    {
        return address;
    }
    // The page, or the words that say why it failed. Null until loadFinished. Owned by this object.
    QTextDocument* document() const
    {
        return shown;
    }

signals:
    // Once, from the event loop: when the page has come and its pictures have come or failed. False if the
    // page failed.
    void loadFinished(bool ok);

private:
    // `type` is a QTextDocument::ResourceType.
    void Fetch(const QUrl& from, int type);
    void CheckSize(QNetworkReply& reply, int type);
    void PageCame(QNetworkReply& reply);
    void ResourceCame(QNetworkReply& reply, const QUrl& from, int type);
    void AbortAll();
    void Compose();
    void Fail(const QString& reason);
    void Finish(QTextDocument* document, bool ok);

    QUrl address;
    QNetworkAccessManager* manager; // a child: its replies end after this object's connections
    QList<QNetworkReply*> running;  // owned by the manager
    QTimer* timeLimit;              // a child; for the page and all that belongs to it
    QString problem;                // why the page's reply fails, if its error does not tell
    QString html;
    QHash<QUrl, QVariant> resources; // pictures and style sheets that were asked for
    qint64 resourceBytes = 0;        // of those that have come
    qint64 picturePixels = 0;
    qint64 selectors = 0;           // of the page's styles and those that have come
    QTextDocument* shown = nullptr; // a child
};
