// How free functions and transfers reach the application, the window and its widgets.
#pragma once

class MainWindow;
class QApplication;
class QLabel;
class QListView;
class QProgressBar;
class QPushButton;
class QWebEngineView;
class QWidget;

// Owns nothing that it points to. The widget fields are copies from the window's form, set by its
// constructor, and keep their values after the widgets were deleted. Only `closing` tells that.
struct LauncherContext
{
    // The one context, created on first use and never freed.
    static LauncherContext& Instance();

    QApplication* application = nullptr; // null outside RunApplication
    MainWindow* window = nullptr;        // set when its constructor has returned, null after its deletion
    QWidget* centralWidget = nullptr;
    QWebEngineView* WebView = nullptr;
    QListView* LogListView = nullptr;
    QProgressBar* ProgressBar = nullptr;
    QLabel* StatusText = nullptr;
    QLabel* PercentageText = nullptr;
    QPushButton* Play = nullptr;
    bool closing = false; // the event loop has ended: the progress displays are left alone
};
