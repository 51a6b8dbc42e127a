#include "form/richtext/notesview.h"

#include <algorithm>

#include <QDesktopServices>
#include <QPushButton>
#include <QTextBrowser>
#include <QTextFrame>
#include <QVBoxLayout>

namespace {
// The page names the address, so no other program than a browser may come up.
void OpenInBrowser(const QUrl& url)
{
    if (url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http"))
        QDesktopServices::openUrl(url);
}
} // namespace

QWebEngineView::QWebEngineView(QWidget* parent)
    : QWidget(parent), text(new QTextBrowser(this)), notes(new QWebEnginePage(this))
{
    // What the window sets on the view does not reach the widgets inside.
    text->setContextMenuPolicy(Qt::NoContextMenu);
    text->setFrameShape(QFrame::NoFrame);
    text->setOpenLinks(false);
    setFocusProxy(text);

    auto* const button = new QPushButton(QStringLiteral("Open in your browser"), this);
    button->setFlat(true);
    button->setFixedHeight(20);
    button->setCursor(Qt::PointingHandCursor);
    QPalette palette = button->palette();
    palette.setColor(QPalette::ButtonText, palette.color(QPalette::Link));
    button->setPalette(palette);

    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(text);
    column->addWidget(button);

    connect(button, &QPushButton::clicked, this, [this] { OpenInBrowser(notes->url()); });
    connect(text, &QTextBrowser::anchorClicked, this, [this](const QUrl& link) {
        if (link.isRelative() && link.path().isEmpty() && link.hasFragment())
            text->scrollToAnchor(link.fragment());
        else
            OpenInBrowser(notes->url().resolved(link));
    });
    // Before the window's slot, which shows the view.
    connect(notes, &QWebEnginePage::loadFinished, this, &QWebEngineView::ShowPage);
}

void QWebEngineView::load(const QUrl& url)
{
    notes->load(url);
}

void QWebEngineView::showEvent(QShowEvent*)
{
    // The view's place is fixed. Where the tabs have tall letters, the lower end of it lies outside.
    const int outside = parentWidget() ? y() + height() - parentWidget()->height() : 0;
    layout()->setContentsMargins(0, 0, 0, std::max(outside, 0));
}

void QWebEngineView::ShowPage()
{
    // A page that names no colours counts on a browser's. The marks of lists have them in any case, so they
    // must suit a dark page too.
    const QBrush background = notes->document()->rootFrame()->frameFormat().background();
    const bool isDark = background.style() != Qt::NoBrush && background.color().lightness() < 128;
    QPalette colours = text->palette();
    colours.setColor(QPalette::Base, Qt::white);
    colours.setColor(QPalette::Text, isDark ? Qt::white : Qt::black);
    text->setPalette(colours);
    text->setDocument(notes->document());
}
