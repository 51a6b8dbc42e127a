#include "form/standin/patchnotespage.h"

#include <QLabel>
#include <QUrl>
#include <QVBoxLayout>

QWebEngineView::QWebEngineView(QWidget* parent)
    : QWidget(parent), notes(new QWebEnginePage(this)), link(new QLabel(this))
{
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    link->setTextFormat(Qt::RichText);
    link->setAlignment(Qt::AlignCenter);
    link->setWordWrap(true);
    link->setOpenExternalLinks(true);
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(link);
}

void QWebEngineView::load(const QUrl& url)
{
    const QString address = url.toString(QUrl::FullyEncoded).toHtmlEscaped();
    link->setText(QStringLiteral("<h2>Patch notes</h2><p>Read what is new in your browser:</p>"
                                 "<p><a href=\"%1\">%1</a></p>")
                      .arg(address));
    // Later, as a page does: the caller connects after this call.
    QMetaObject::invokeMethod(
        notes, [this] { emit notes->loadFinished(true); }, Qt::QueuedConnection);
}
