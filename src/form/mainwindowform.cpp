#include "form/mainwindowform.h"

#include <QCoreApplication>
#include <QLabel>
#include <QListView>
#include <QMainWindow>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>
#include <QWebEngineView>

namespace {
template <typename Widget>
Widget* Create(QWidget* parent, const char* name)
{
    auto* const widget = new Widget(parent);
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

template <typename Widget>
Widget* Create(QWidget* parent, const char* name, const QRect& geometry)
{
    auto* const widget = Create<Widget>(parent, name);
    widget->setGeometry(geometry);
    return widget;
}

QString Text(const char* source)
{
    return QCoreApplication::translate("MainWindow", source, nullptr, -1);
}
} // namespace

void MainWindowForm::setupUi(QMainWindow* window)
{
    if (window->objectName().isEmpty())
        window->setObjectName(QStringLiteral("MainWindow"));
    window->resize(733, 451);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHorizontalStretch(0);
    policy.setVerticalStretch(0);
    policy.setHeightForWidth(window->sizePolicy().hasHeightForWidth());
    window->setSizePolicy(policy);
    window->setToolButtonStyle(Qt::ToolButtonIconOnly);
    window->setTabShape(QTabWidget::Rounded);

    centralWidget = Create<QWidget>(window, "centralWidget");

    ProgressBar = Create<QProgressBar>(centralWidget, "ProgressBar", QRect(10, 413, 638, 10));
    ProgressBar->setMaximum(ProgressScale);
    ProgressBar->setValue(0);
    ProgressBar->setTextVisible(false);

    StatusText = Create<QLabel>(centralWidget, "StatusText", QRect(11, 425, 221, 16));

    PercentageText = Create<QLabel>(centralWidget, "PercentageText", QRect(230, 425, 418, 16));
    PercentageText->setAlignment(Qt::AlignRight | Qt::AlignVCenter);

    Play = Create<QPushButton>(centralWidget, "Play");
    Play->setEnabled(false);
    Play->setGeometry(QRect(651, 410, 71, 31));

    TabControl = Create<QTabWidget>(centralWidget, "TabControl", QRect(10, 10, 713, 401));

    PatchNotesTabItem = Create<QWidget>(nullptr, "PatchNotesTabItem");
    WebView = Create<QWebEngineView>(PatchNotesTabItem, "WebView", QRect(0, 0, 709, 375));
    WebView->setVisible(false);
    TabControl->addTab(PatchNotesTabItem, QString());

    LogTabItem = Create<QWidget>(nullptr, "LogTabItem");
    LogListView = Create<QListView>(LogTabItem, "LogListView", QRect(-1, -1, 709, 377));
    TabControl->addTab(LogTabItem, QString());

    window->setCentralWidget(centralWidget);

    window->setWindowTitle(Text("Tessaloom Launcher"));
    StatusText->setText(Text("Status"));
    PercentageText->setText(Text("%"));
    Play->setText(Text("Play"));
    TabControl->setTabText(TabControl->indexOf(PatchNotesTabItem), Text("Patch Notes"));
    TabControl->setTabText(TabControl->indexOf(LogTabItem), Text("Log"));
    TabControl->setCurrentIndex(0);
}
