// Starting programs.
#include "platform/platform.h"

#include <filesystem>

#include <QProcess>
#include <QString>

namespace {
// Failures are below 33. Windows has more of them, but the program treats all alike.
constexpr ULONG_PTR FileNotFound = 2;
constexpr ULONG_PTR AccessDenied = 5;
constexpr ULONG_PTR Started = 33;

HINSTANCE Result(ULONG_PTR code)
{
    return reinterpret_cast<HINSTANCE>(code);
}
} // namespace

// Windows resolves the name against the current directory and does not wait. It knows no execute bit: a file
// that has just been fetched has none here, so it is set before the start.
HINSTANCE ShellExecuteA(HWND /*owner*/, LPCSTR /*verb*/, LPCSTR file, LPCSTR /*parameters*/,
                        LPCSTR /*directory*/, int /*show*/)
{
    namespace fs = std::filesystem;
    std::error_code error;
    // An absolute path: a bare name would be searched in the system's folders for programs.
    const fs::path program = fs::absolute(NativePath(file), error);
    const fs::file_status status = fs::status(program, error);
    if (!fs::is_regular_file(status))
        return Result(FileNotFound);

    constexpr fs::perms Execute = fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec;
    if ((status.permissions() & fs::perms::owner_exec) == fs::perms::none)
        fs::permissions(program, Execute, fs::perm_options::add, error); // if not, the start says so

    const bool started = QProcess::startDetached(QString::fromStdString(program.string()), QStringList());
    return Result(started ? Started : AccessDenied);
}
