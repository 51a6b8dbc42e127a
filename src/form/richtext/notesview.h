// The second class that stands in for Qt's web engine; notespage.h says more.
#pragma once

#include <QWidget>

#include "form/richtext/notespage.h"

class QTextBrowser;

// Shows the page, and below it a line that opens it in the player's browser. Links open there too.
class QWebEngineView : public QWidget
{
    Q_OBJECT

public:
    explicit QWebEngineView(QWidget* parent = nullptr);

    // Called once.
    void load(const QUrl& url);
    QWebEnginePage* page() const
    {
        return notes;
    }

protected:
    void showEvent(QShowEvent* event) override;

private:
    void ShowPage();

    QTextBrowser* text; // destroyed before the page, whose document it shows
    QWebEnginePage* notes;
};
