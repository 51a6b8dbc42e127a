// Messages, the window's icon, and the taskbar, which does not exist here.
#include "platform/platform.h"

#include <memory>

#include <QApplication>
#include <QFile>
#include <QIcon>
#include <QMessageBox>

namespace {
constexpr ULONG_PTR IconNumber = 102;
constexpr int PressedOk = 1;
constexpr HRESULT ClassNotRegistered = static_cast<HRESULT>(0x80040154);

QString IconPath()
{
    return QStringLiteral(":/launcher.ico");
}
} // namespace

// Windows needs no application object for its box, and shows the text as it stands.
int MessageBoxA(HWND /*owner*/, LPCSTR text, LPCSTR caption, UINT type)
{
    static int argumentCount = 0;
    static char* arguments[] = {nullptr};
    std::unique_ptr<QApplication> application;
    if (!QCoreApplication::instance()) {
        application = std::make_unique<QApplication>(argumentCount, arguments);
        FixTextConventions();
    }

    QMessageBox box;
    box.setTextFormat(Qt::PlainText);
    box.setWindowTitle(QString::fromUtf8(caption));
    box.setText(QString::fromUtf8(text));
    box.setIcon(type & MB_ICONERROR ? QMessageBox::Critical : QMessageBox::NoIcon);
    box.setStandardButtons(QMessageBox::Ok);
    box.exec();
    return PressedOk; // also if the box was closed in another way
}

// Never looked into.
HMODULE GetModuleHandleA(LPCSTR /*name*/)
{
    static char image;
    return reinterpret_cast<HMODULE>(&image);
}

// The program's icons are Qt resources here, so the handle is just the number.
HICON LoadIconA(HINSTANCE /*module*/, LPCSTR name)
{
    const ULONG_PTR number = reinterpret_cast<ULONG_PTR>(name);
    return number == IconNumber && QFile::exists(IconPath()) ? reinterpret_cast<HICON>(number) : nullptr;
}

// Windows sets the icon of every window of the class; the program has one.
ULONG_PTR SetClassLongPtrA(HWND window, int index, LONG_PTR value)
{
    QWidget* widget = QWidget::find(reinterpret_cast<WId>(window));
    if (widget && index == GCLP_HICON && static_cast<ULONG_PTR>(value) == IconNumber)
        widget->setWindowIcon(QIcon(IconPath()));
    return 0;
}

HRESULT CoCreateInstance(const GUID& /*classId*/, void* /*outer*/, DWORD /*context*/,
                         const GUID& /*interfaceId*/, void** object)
{
    *object = nullptr;
    return ClassNotRegistered;
}
