// The form as it is built, and what the window adds to it.
#include <QLabel>
#include <QListView>
#include <QMetaMethod>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>

#include "form/mainwindowform.h"
#include "support/testmain.h"
#include "support/windowundertest.h"

namespace {
// "name x y width height".
QString Placed(const QWidget* widget)
{
    const QRect at = widget->geometry();
    const QString place = QString(" %1 %2 %3 %4").arg(at.x()).arg(at.y()).arg(at.width()).arg(at.height());
    return widget->objectName() + place;
}
} // namespace

class FormTest : public QObject
{
    Q_OBJECT

private slots:
    void form()
    {
        QMainWindow window;
        window.setObjectName("other");
        MainWindowForm form;
        form.setupUi(&window);
        const auto* const view = window.findChild<QWidget*>("WebView");
        const QTabWidget& tabs = *form.TabControl;

        QStringList placed = {Placed(view), Placed(form.LogListView)};
        for (const QObject* widget : form.centralWidget->children()) // as they are stacked
            placed += Placed(static_cast<const QWidget*>(widget));
        const QStringList places = {"WebView 0 0 709 375",           "LogListView -1 -1 709 377",
                                    "ProgressBar 10 413 638 10",     "StatusText 11 425 221 16",
                                    "PercentageText 230 425 418 16", "Play 651 410 71 31",
                                    "TabControl 10 10 713 401"};
        QCOMPARE(placed, places);
        QVERIFY(tabs.widget(0) == view->parent() && tabs.widget(1) == form.LogListView->parent());
        QCOMPARE(tabs.currentIndex(), 0);
        QCOMPARE(window.size(), QSize(733, 451));
        QCOMPARE(window.objectName(), QString("other"));

        const QStringList texts = {window.windowTitle(), form.StatusText->text(), form.PercentageText->text(),
                                   form.Play->text(),    tabs.tabText(0),         tabs.tabText(1)};
        QCOMPARE(texts, QStringList({"Tessaloom Launcher", "Status", "%", "Play", "Patch Notes", "Log"}));
        QCOMPARE(form.PercentageText->alignment(), Qt::AlignRight | Qt::AlignVCenter);
        QCOMPARE(form.ProgressBar->maximum(), 10000);
        QVERIFY(!form.ProgressBar->isTextVisible() && !form.ProgressBar->isHidden());
        QVERIFY(view->isHidden() && !form.Play->isEnabled());
    }

    void window()
    {
        WindowUnderTest test;
        const MainWindow& window = test.Open();
        QVERIFY(window.windowFlags() & Qt::MSWindowsFixedSizeDialogHint);
        QCOMPARE(window.size(), QSize(733, 451));
        QCOMPARE(window.ui->LogListView->editTriggers(), QAbstractItemView::NoEditTriggers);
        const auto* const view = window.findChild<QWidget*>("WebView");
        QCOMPARE(view->contextMenuPolicy(), Qt::NoContextMenu);
        QVERIFY(view->isHidden());
        QTRY_VERIFY(!view->isHidden()); // the page has loaded

        QByteArrayList slotNames;
        for (int i = QMainWindow::staticMetaObject.methodCount(); i < window.metaObject()->methodCount(); ++i)
            slotNames += window.metaObject()->method(i).methodSignature();
        QCOMPARE(slotNames, QByteArrayList({"on_Play_clicked()", "Update()"}));
    }
};

LAUNCHER_TEST_MAIN(FormTest)
#include "form_test.moc"
