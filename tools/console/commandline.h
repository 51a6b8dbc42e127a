// How the publisher's programs take their command line.
#pragma once

#include <optional>

#include <QCommandLineParser>

// Exit codes of all three programs. Each help text says what they mean.
enum ExitCode
{
    Fine = 0,
    SomethingWrong = 1,
    WrongUsage = 2
};

// Sets up the running QCoreApplication as the program of this name, in the launcher's text conventions, and
// reads its command line: so many arguments, none of them empty, the options that `parser` knows, --help and
// --version. `help` is the complete help text; its first line is the usage line. Gives the exit code if the
// program has nothing else to do.
std::optional<ExitCode> ReadCommandLine(QCommandLineParser& parser, const char* name, const char* help,
                                        int count = 1);

// Says on standard error what is wrong, if there is something to say, and the usage line. Gives WrongUsage.
ExitCode ComplainAboutUsage(const QString& reason, const char* help);
