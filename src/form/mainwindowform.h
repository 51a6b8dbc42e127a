// The form of the launcher's only window: its widgets, their places and their first texts.
#pragma once

class QLabel;
class QListView;
class QMainWindow;
class QProgressBar;
class QPushButton;
class QTabWidget;
class QWebEngineView;
class QWidget;

// The progress bar counts to this, and so does the taskbar's button.
constexpr int ProgressScale = 10000;

// Ten widgets at fixed pixel positions, in the order of their construction; each bears its field's name as
// its object name. The widgets belong to the window through Qt's parent chain, the record to its creator.
struct MainWindowForm
{
    QWidget* centralWidget;
    QProgressBar* ProgressBar;
    QLabel* StatusText;
    QLabel* PercentageText;
    QPushButton* Play;
    QTabWidget* TabControl;
    QWidget* PatchNotesTabItem;
    QWebEngineView* WebView;
    QWidget* LogTabItem;
    QListView* LogListView;

    // Builds the form in `window` and fills the fields. Runs once for a record. Makes no connections.
    void setupUi(QMainWindow* window);
};
