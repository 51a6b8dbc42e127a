#include "form/standin/patchnotespage.h"

#include <QFocusEvent>
#include <QUrl>

QWebEngineView::QWebEngineView(QWidget* parent) : QLabel(parent), notes(new QWebEnginePage(this))
{
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    setAlignment(Qt::AlignCenter);
    setWordWrap(true);
    setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    setOpenExternalLinks(true);
}

void QWebEngineView::load(const QUrl& url)
{
    const QString address = url.toString(QUrl::FullyEncoded).toHtmlEscaped();
    setText(QStringLiteral("<h2>Patch notes</h2><p>Read what is new in your browser:</p>"
                           "<p><a href=\"%1\">%1</a></p>")
                .arg(address));
    // Later, as a page does: the caller connects after this call.
    QMetaObject::invokeMethod(
        notes, [this] { emit notes->loadFinished(true); }, Qt::QueuedConnection);
}

void QWebEngineView::focusInEvent(QFocusEvent* event)
{
    QLabel::focusInEvent(event);
    // Moves the focus on to the link, which Qt does only at the next press of Tab.
    if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason)
        focusNextPrevChild(true);
}
