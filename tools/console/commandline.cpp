#include "console/commandline.h"

#include <cstdio>

#include <QCoreApplication>

#include "platform/platform.h"

std::optional<ExitCode> ReadCommandLine(QCommandLineParser& parser, const char* name, const char* help,
                                        int count)
{
    FixTextConventions();
    QCoreApplication::setApplicationName(name);
    const QCommandLineOption helpOption(QStringList{"h", "help"});
    const QCommandLineOption versionOption("version");
    parser.addOptions({helpOption, versionOption});

    const bool understood = parser.parse(QCoreApplication::arguments());
    if (understood && parser.isSet(helpOption)) {
        std::fputs(help, stdout);
        return Fine;
    }
    if (understood && parser.isSet(versionOption)) {
        std::printf("%s %s\n", name, PROGRAM_VERSION);
        return Fine;
    }
    const QStringList arguments = parser.positionalArguments();
    if (understood && arguments.size() == count && !arguments.contains(""))
        return std::nullopt;

    return ComplainAboutUsage(understood ? "" : parser.errorText(), help);
}

ExitCode ComplainAboutUsage(const QString& reason, const char* help)
{
    if (!reason.isEmpty())
        std::fprintf(stderr, "%s: %s\n", qPrintable(QCoreApplication::applicationName()), qPrintable(reason));
    std::fprintf(stderr, "%s\n", qPrintable(QString::fromUtf8(help).section('\n', 0, 0)));
    return WrongUsage;
}
