// The form as it is built, and what the window adds to it.
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
        QObjectList widgets = form.centralWidget->children(); // as they are stacked
        widgets << view << form.LogListView;
        QString placed;
        for (const QObject* widget : qAsConst(widgets)) {
            const QRect at = static_cast<const QWidget*>(widget)->geometry();
            placed += widget->objectName() +
                      QString(" %1 %2 %3 %4, ").arg(at.x()).arg(at.y()).arg(at.width()).arg(at.height());
        }
        QCOMPARE(
            placed,
            QString(
                "ProgressBar 10 413 638 10, StatusText 11 425 221 16, PercentageText 230 425 418 16, Play "
                "651 410 71 31, TabControl 10 10 713 401, WebView 0 0 709 375, LogListView -1 -1 709 377, "));
        QVERIFY(window.size() == QSize(733, 451) &&
                (window.windowFlags() & Qt::MSWindowsFixedSizeDialogHint));

        const QTabWidget& tabs = *form.TabControl;
        const QStringList texts = {window.windowTitle(), form.StatusText->text(), form.PercentageText->text(),
                                   form.Play->text(),    tabs.tabText(0),         tabs.tabText(1)};
        QCOMPARE(texts.join('|'), QString("Tessaloom Launcher|Status|%|Play|Patch Notes|Log"));
        QVERIFY(tabs.currentWidget() == view->parent() && tabs.widget(1) == form.LogListView->parent());
        QCOMPARE(form.PercentageText->alignment(), Qt::AlignRight | Qt::AlignVCenter);
        QVERIFY(form.ProgressBar->maximum() == 10000 && !form.ProgressBar->isTextVisible() &&
                !form.ProgressBar->isHidden());
        QCOMPARE(form.LogListView->editTriggers(), QAbstractItemView::NoEditTriggers);
        QCOMPARE(view->contextMenuPolicy(), Qt::NoContextMenu);
        QVERIFY(view->isHidden() && !form.Play->isEnabled());
        QTRY_VERIFY(!view->isHidden()); // the page has loaded
    }
};

LAUNCHER_TEST_MAIN(FormTest)
#include "form_test.moc"
