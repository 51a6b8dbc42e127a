#include "form/richtext/notespage.h"

#include <algorithm>

#include <QBuffer>
#include <QFont>
#include <QImageReader>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPixmap>
#include <QRegularExpression>
#include <QSet>
#include <QSslError>
#include <QTextBlock>
#include <QTextCodec>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFormat>
#include <QTimer>

namespace {
constexpr int TimeLimit = 30 * 1000; // milliseconds
constexpr qint64 MaxPageBytes = 4 * 1024 * 1024;
constexpr qint64 MaxResourceBytes = 16 * 1024 * 1024;
constexpr qint64 MaxPicturePixels = 32 * 1024 * 1024; // four bytes each
constexpr int MaxResources = 200;
constexpr int MaxRedirects = 10;
// Qt tries every selector on every element, a million in about a quarter of a second.
constexpr qint64 MaxStyleTrials = 2000000;

// A page over which no time has to be lost. Qt takes about half a microsecond per letter and 25 per tag,
// twice as much for every table around them, in one go. The rest of a page that would take more than about
// half a second is cut off, and the page says so. Elements in elements cost too; web engines stop at a
// similar depth.
QString Shortened(const QString& html)
{
    constexpr qint64 letterCost = 1, tagCost = 50, maxCost = 500000;
    constexpr int maxTables = 16; // more than the cost allows
    constexpr int maxDepth = 300;
    // Elements that are left open without others in them.
    static const QSet<QString> flat = {"p",  "br", "hr",  "img",  "li",   "tr",    "td",    "th",
                                       "dt", "dd", "!--", "meta", "link", "input", "script"};
    qint64 cost = 0;
    int tables = 0, depth = 0;
    for (int i = 0; i < html.size(); ++i) {
        const bool isTag = html[i] == QLatin1Char('<');
        cost += (isTag ? tagCost : letterCost) << tables;
        if (cost > maxCost || depth > maxDepth)
            return html.left(i) + QStringLiteral("</table>").repeated(tables) +
                   QStringLiteral("<p><b>The page goes on in your browser.</b></p>");
        if (!isTag)
            continue;
        static const QRegularExpression tag(QStringLiteral("^<(/?)(!--|[a-z0-9]+)"),
                                            QRegularExpression::CaseInsensitiveOption);
        const auto match = tag.match(html.midRef(i, 12)); // of the page it would look at every letter
        const QString name = match.captured(2).toLower();
        const int change = match.capturedLength(1) == 0 ? 1 : -1;
        if (match.hasMatch() && !flat.contains(name))
            depth = std::max(depth + change, 0);
        if (name == QLatin1String("table"))
            tables = qBound(0, tables + change, maxTables);
        // Scripts and comments are not laid out at all.
        const char* const end = name == QLatin1String("script") && change > 0 ? "</script"
                                : name == QLatin1String("!--")                ? "-->"
                                                                              : ">";
        i = html.indexOf(QLatin1String(end), i, Qt::CaseInsensitive);
        if (i < 0)
            break;
    }
    return html;
}

// By the charset of the header, or else by that of the page.
QString Decoded(const QByteArray& body, const QString& contentType)
{
    static const QRegularExpression charset(QStringLiteral("charset\\s*=\\s*\"?([^\\s;\"]+)"),
                                            QRegularExpression::CaseInsensitiveOption);
    const QTextCodec* codec = QTextCodec::codecForName(charset.match(contentType).captured(1).toLatin1());
    if (!codec)
        codec = QTextCodec::codecForHtml(body, QTextCodec::codecForName("UTF-8"));
    return codec->toUnicode(body);
}

// Why the page did not come, in words for the player.
QString Reason(const QNetworkReply& reply)
{
    switch (reply.error()) {
        case QNetworkReply::HostNotFoundError:
            return QStringLiteral("Their server was not found. Your internet connection may be down.");
        case QNetworkReply::ConnectionRefusedError:
        case QNetworkReply::TimeoutError: return QStringLiteral("Their server does not answer.");
        case QNetworkReply::RemoteHostClosedError:
            return QStringLiteral("The connection to their server broke off.");
        case QNetworkReply::InsecureRedirectError:
            return QStringLiteral("They have moved to an address without HTTPS.");
        case QNetworkReply::ContentNotFoundError:
            return QStringLiteral("Their server does not have the page.");
        default: return reply.errorString();
    }
}

// Those of a list are parted by commas. Values have commas too, so these are some more.
int Selectors(const QString& css)
{
    return css.count(QLatin1Char('{')) + css.count(QLatin1Char(','));
}

// Takes resources from the given ones only: Qt would read those that are null from the disk.
class NotesDocument : public QTextDocument
{
public:
    NotesDocument(const QHash<QUrl, QVariant>& given, QObject* parent)
        : QTextDocument(parent), resources(given)
    {
        // A browser's defaults, for the page to override.
        QFont font = defaultFont();
        font.setPointSize(12);
        setDefaultFont(font);
        setDocumentMargin(0);
        setDefaultStyleSheet(
            QStringLiteral("body { margin: 8px } h1 { font-size: 32px } h2 { font-size: 24px }"
                           "h3 { font-size: 19px } h4 { font-size: 16px } h5 { font-size: 13px }"));
        setUndoRedoEnabled(false);
    }

    // Gives headings the size that the page names: Qt prefers one of its own.
    void MendHeadings()
    {
        QList<QPair<QTextCursor, QTextCharFormat>> mended;
        for (QTextBlock block = begin(); block.isValid(); block = block.next()) {
            if (block.blockFormat().headingLevel() == 0)
                continue;
            for (auto part = block.begin(); !part.atEnd(); ++part) {
                QTextCursor cursor(this);
                cursor.setPosition(part.fragment().position());
                cursor.setPosition(cursor.position() + part.fragment().length(), QTextCursor::KeepAnchor);
                QTextCharFormat format = part.fragment().charFormat();
                format.clearProperty(QTextFormat::FontSizeAdjustment);
                mended.append({cursor, format});
            }
        }
        // Afterwards, since it changes what the loops run over.
        for (auto& [cursor, format] : mended)
            cursor.setCharFormat(format);
    }

    QHash<QUrl, int> missing; // their types by their addresses

protected:
    QVariant loadResource(int type, const QUrl& url) override
    {
        const auto found = resources.constFind(url);
        if (found == resources.constEnd())
            missing.insert(url, type);
        else if (!found->isNull())
            return *found;
        if (type != ImageResource)
            return QString();
        QPixmap nothing(1, 1);
        nothing.fill(Qt::transparent);
        return nothing;
    }

private:
    const QHash<QUrl, QVariant> resources;
};
} // namespace

QWebEnginePage::QWebEnginePage(QObject* parent)
    : QObject(parent), manager(new QNetworkAccessManager(this)), timeLimit(new QTimer(this))
{
    timeLimit->setSingleShot(true);
    timeLimit->setInterval(TimeLimit);
    connect(timeLimit, &QTimer::timeout, this, [this] {
        problem = QStringLiteral("They took longer than half a minute.");
        AbortAll();
    });
}

void QWebEnginePage::load(const QUrl& url)
{
    address = url;
    // Later, as a page does: the caller connects after this call.
    if (url == QUrl(QStringLiteral("about:blank")))
        QMetaObject::invokeMethod(this, &QWebEnginePage::Compose, Qt::QueuedConnection);
    else if (url.scheme() != QLatin1String("https"))
        QMetaObject::invokeMethod(
            this, [this] { Fail(QStringLiteral("Their address does not begin with https.")); },
            Qt::QueuedConnection);
    else {
        timeLimit->start();
        Fetch(url, QTextDocument::HtmlResource);
    }
}

void QWebEnginePage::Fetch(const QUrl& from, int type)
{
    QNetworkRequest request(from);
    // Never from HTTPS to HTTP.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setMaximumRedirectsAllowed(MaxRedirects);
    // Not compressed: the limits count what is held.
    request.setRawHeader("Accept-Encoding", "identity");
    QNetworkReply* const reply = manager->get(request);
    running += reply;
    connect(reply, &QNetworkReply::readyRead, this, [this, reply, type] { CheckSize(*reply, type); });
    connect(reply, &QNetworkReply::sslErrors, this, [this](const QList<QSslError>& errors) {
        problem = QStringLiteral("Their server could not prove who it is: ") + errors.first().errorString() +
                  QLatin1Char('.');
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply, from, type] {
        running.removeOne(reply);
        reply->deleteLater();
        if (type == QTextDocument::HtmlResource)
            PageCame(*reply);
        else
            ResourceCame(*reply, from, type);
    });
}

// Ends the reply if it has become too large. That emits finished().
void QWebEnginePage::CheckSize(QNetworkReply& reply, int type)
{
    qint64 held = resourceBytes;
    for (const QNetworkReply* one : qAsConst(running))
        held += one->bytesAvailable();
    if (held <= (type == QTextDocument::HtmlResource ? MaxPageBytes : MaxResourceBytes))
        return;
    problem = QStringLiteral("They are larger than 4 MiB.");
    reply.abort();
}

void QWebEnginePage::PageCame(QNetworkReply& reply)
{
    if (reply.error() != QNetworkReply::NoError) {
        Fail(problem.isEmpty() ? Reason(reply) : problem);
        return;
    }
    const QString contentType = reply.header(QNetworkRequest::ContentTypeHeader).toString();
    const QString type = contentType.section(QLatin1Char(';'), 0, 0).trimmed().toLower();
    if (type != QLatin1String("text/html") && type != QLatin1String("application/xhtml+xml")) {
        Fail(QStringLiteral("What their server sent is no web page."));
        return;
    }
    address = reply.url();
    html = Shortened(Decoded(reply.readAll(), contentType));
    static const QRegularExpression styles(
        QStringLiteral("<style\\b.*?</style\\s*>"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    for (auto all = styles.globalMatch(html); all.hasNext();)
        selectors += Selectors(all.next().captured());
    if (selectors * html.count(QLatin1Char('<')) > MaxStyleTrials)
        html.remove(styles);
    Compose();
}

// What fails leaves a gap in the page.
void QWebEnginePage::ResourceCame(QNetworkReply& reply, const QUrl& from, int type)
{
    if (reply.error() == QNetworkReply::NoError) {
        QByteArray body = reply.readAll();
        resourceBytes += body.size();
        QBuffer buffer(&body);
        QImageReader reader(&buffer);
        if (type == QTextDocument::StyleSheetResource) {
            const QString css = QString::fromUtf8(body);
            selectors += Selectors(css);
            if (selectors * html.count(QLatin1Char('<')) <= MaxStyleTrials)
                resources[from] = css;
        } else if (const QSize size = reader.size(); size.isValid()) {
            picturePixels += qint64(size.width()) * size.height();
            if (picturePixels <= MaxPicturePixels)
                resources[from] = QPixmap::fromImage(reader.read());
        }
    }
    if (running.isEmpty())
        Compose();
}

void QWebEnginePage::AbortAll()
{
    // Each is taken from the list while it ends.
    const QList<QNetworkReply*> replies = running;
    for (QNetworkReply* reply : replies)
        reply->abort();
}

// Makes the document of what is there. Asks for what it lacks, and comes again when all of that has ended: a
// style sheet can name others.
void QWebEnginePage::Compose()
{
    auto* const made = new NotesDocument(resources, this);
    made->setBaseUrl(address);
    made->setHtml(html);
    // Pictures would be asked for by the layout, which is not made twice.
    const QVector<QTextFormat> formats = made->allFormats();
    for (const QTextFormat& format : formats) {
        if (format.isImageFormat())
            made->resource(QTextDocument::ImageResource, QUrl(format.toImageFormat().name()));
    }
    for (auto one = made->missing.constBegin(); one != made->missing.constEnd(); ++one) {
        const bool isAllowed =
            one.key().scheme() == QLatin1String("https") ||
            (one.key().scheme() == QLatin1String("data") && *one == QTextDocument::ImageResource);
        if (isAllowed && timeLimit->isActive() && resources.size() < MaxResources) {
            resources[one.key()] = QVariant();
            Fetch(one.key(), *one);
        }
    }
    if (running.isEmpty()) {
        made->MendHeadings();
        Finish(made, true);
    } else {
        delete made;
    }
}

void QWebEnginePage::Fail(const QString& reason)
{
    auto* const words = new QTextDocument(this);
    words->setHtml(
        QStringLiteral("<body style=\"background: #191919; color: white; margin: 20px\">"
                       "<h2>The patch notes could not be fetched</h2><p>%1</p>"
                       "<p>The update goes on without them. In your browser: <a href=\"%2\">%2</a></p>")
            .arg(reason.toHtmlEscaped(), address.toString(QUrl::FullyEncoded).toHtmlEscaped()));
    Finish(words, false);
}

void QWebEnginePage::Finish(QTextDocument* document, bool ok)
{
    timeLimit->stop();
    shown = document;
    emit loadFinished(ok);
}
