// The form as it is built, and what the window adds to it.
#include <QDebug>
#include <QLabel>
#include <QListView>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>

#include "form/mainwindowform.h"
#include "support/testmain.h"
#include "support/windowundertest.h"

class FormTest : public QObject
{
    Q_OBJECT

private slots:
    void window()
    {
        WindowUnderTest test;
        const MainWindow& window = test.Open();
        const MainWindowForm& form = *window.ui;
        auto* const view = window.findChild<QWidget*>("WebView");
        auto widgets = form.centralWidget->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
        QString placed;
        for (const QWidget* widget : widgets << view << form.LogListView) // as they are stacked
            QDebug(&placed).noquote() << widget->objectName() << widget->geometry();
        const QString places =
            "ProgressBar QRect(10,413 638x10) StatusText QRect(11,425 221x16) PercentageText QRect(230,425 "
            "418x16) Play QRect(651,410 71x31) TabControl QRect(10,10 713x401) WebView QRect(0,0 709x375) "
            "LogListView QRect(-1,-1 709x377) ";
        QCOMPARE(placed, places);
        QCOMPARE(window.size(), QSize(733, 451));
        QVERIFY(window.windowFlags() & Qt::MSWindowsFixedSizeDialogHint);

        const QTabWidget& tabs = *form.TabControl;
        const QStringList texts = {window.windowTitle(), test.Status(),   test.Percentage(),
                                   form.Play->text(),    tabs.tabText(0), tabs.tabText(1)};
        QCOMPARE(texts.join('|'), QString("Tessaloom Launcher|Status|%|Play|Patch Notes|Log"));
        QVERIFY(tabs.currentWidget() == view->parent() && tabs.widget(1) == form.LogListView->parent());
        QCOMPARE(form.PercentageText->alignment(), Qt::AlignRight | Qt::AlignVCenter);
        QVERIFY(form.ProgressBar->maximum() == 10000 && !form.ProgressBar->isTextVisible());
        QCOMPARE(form.LogListView->editTriggers(), QAbstractItemView::NoEditTriggers);
        QCOMPARE(view->contextMenuPolicy(), Qt::NoContextMenu);
        QVERIFY(view->isHidden() && !form.Play->isEnabled());
        QTRY_VERIFY(!view->isHidden()); // the page has loaded
    }
};

LAUNCHER_TEST_MAIN(FormTest)
#include "form_test.moc"
