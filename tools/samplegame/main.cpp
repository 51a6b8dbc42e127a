// The game of the sample tree. It notes where it was started, shows a window for a moment and ends.

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QTimer>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);

    // Beside the game, if the launcher changed to the game's folder before it started it.
    QFile file(QStringLiteral("started.txt"));
    if (file.open(QIODevice::WriteOnly | QIODevice::Append))
        file.write("Started from " + QDir::currentPath().toUtf8() + "\n");

    QLabel window(QStringLiteral("Tessaloom, version 2\n\nThis is the sample game. It ends by itself."));
    window.setWindowTitle(QStringLiteral("Tessaloom"));
    window.setAlignment(Qt::AlignCenter);
    window.setStyleSheet(QStringLiteral("background-color: #10182e; color: #ffd873; font-size: 18px;"));
    window.resize(480, 270);
    window.show();
    QTimer::singleShot(2000, &application, &QApplication::quit);
    return application.exec();
}
