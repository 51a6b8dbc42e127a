// What stands in for Qt's web engine where a build has none: its two classes by their own names, with the
// operations that the window uses. Nothing is fetched.
// The address is offered as a link for the player's browser.
#pragma once

#include <QLabel>

class QUrl;

// Owned by its view.
class QWebEnginePage : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

signals:
    // Once for each load, from the event loop. Always with true: a link cannot fail to come.
    void loadFinished(bool ok);
};

// A label, so that the settings which the window makes on the view reach the text itself. The link opens by a
// click, and by Enter when it has the focus.
class QWebEngineView : public QLabel
{
    Q_OBJECT

public:
    explicit QWebEngineView(QWidget* parent = nullptr);

    // Shows the link to this address.
    void load(const QUrl& url);
    QWebEnginePage* page() const
    {
        return notes;
    }

protected:
    void focusInEvent(QFocusEvent* event) override;

private:
    QWebEnginePage* notes;
};
