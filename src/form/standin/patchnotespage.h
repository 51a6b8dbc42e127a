// What stands in for Qt's web engine where a build has none: its two classes by their own names, with the
// operations that the window uses. Nothing is fetched; the address is offered as a link for the player's
// browser.
#pragma once

#include <QWidget>

class QLabel;
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

class QWebEngineView : public QWidget
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

private:
    QWebEnginePage* notes;
    QLabel* link;
};
