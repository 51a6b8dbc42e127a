// The one door to the operating system, and the only header that knows which system this is.
//
// The program is written against the Windows calls by their own names. On Windows they come from the system's
// headers; elsewhere this header declares what the program uses of them, and posix/*.cpp supply it.
//
// Paths are Windows paths on every system: both slash kinds are accepted, backslashes are produced. Where
// there are no drives, an absolute path is the native one with its slashes turned: \home\ada\Game.
#pragma once

#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

// --- The program's own questions to the system, answered by posix/*.cpp and windows/*.cpp ---

// The path in the form that Qt and the standard library of this system take. The calls below apply it
// themselves.
std::string NativePath(const std::string& path);

// Fixes numbers as text to the "C" format and the local code page to UTF-8, whatever the user's locale is.
// The entry point calls it first; call it again after a QApplication was constructed, which puts the user's
// locale in force.
void FixTextConventions();

// Gives all threads one heap. Otherwise each of the network's threads keeps one, with the memory of bodies
// that have long been written. Call it before a second thread starts.
void ShareHeapAmongThreads();

// Folders that hold other things than a game, beside those that Qt can name: full paths in the local code
// page. Some may not exist, and some may be named twice.
std::vector<std::string> SystemFolders();

// The folder's full path as the system itself calls it, without a closing separator: not by way of a link, a
// junction, the letter of another folder or of a share, or a short name. A share's path begins with two
// backslashes. Empty if it can't be had. May wait for a slow disk or server.
std::string FinalPath(const std::string& path);

#ifdef _WIN32

#include <windows.h>

#include <intrin.h>
#include <io.h>
#include <malloc.h>
#include <mmsystem.h>
#include <psapi.h>
#include <share.h>
#include <shellapi.h>
#include <shobjidl.h>

#else

#include <cstddef>
#include <cstdint>

#define WINAPI
#define STDMETHODCALLTYPE

using BOOL = int;
using DWORD = std::uint32_t;
using UINT = unsigned int;
using HRESULT = std::int32_t;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using ULONGLONG = unsigned long long;
using LPSTR = char*;
using LPCSTR = const char*;
using HANDLE = void*;
using HINSTANCE = struct HINSTANCE__*;
using HMODULE = HINSTANCE;
using HICON = struct HICON__*;
using HWND = struct HWND__*;

constexpr BOOL FALSE = 0;
constexpr BOOL TRUE = 1;
constexpr std::size_t MAX_PATH = 260;

// --- The entry point, which main() calls ---

int WINAPI WinMain(HINSTANCE instance, HINSTANCE previous, LPSTR commandLine, int showCommand);

// --- Current directory, folders and files ---

// Bytes written without the closing zero, or the size needed with it when the buffer is too small, which is
// then left as it was; 0 on failure. Once the folder has been removed, its last path is given.
DWORD GetCurrentDirectoryA(DWORD size, LPSTR buffer);
BOOL SetCurrentDirectoryA(LPCSTR path);
// One folder, whose parent exists. `security` is null.
BOOL CreateDirectoryA(LPCSTR path, void* security);
// Overwrites, `failIfExists` is FALSE; keeps the execute bit.
BOOL CopyFileA(LPCSTR from, LPCSTR to, BOOL failIfExists);
BOOL DeleteFileA(LPCSTR path);
// The user's temporary folder with a closing backslash. Results as of GetCurrentDirectoryA.
DWORD GetTempPathA(DWORD size, LPSTR buffer);

constexpr DWORD GENERIC_READ = 0x80000000;
constexpr DWORD GENERIC_WRITE = 0x40000000;
constexpr DWORD FILE_SHARE_DELETE = 4;
constexpr DWORD OPEN_ALWAYS = 4;
constexpr DWORD ERROR_SHARING_VIOLATION = 32;
constexpr DWORD ERROR_ALREADY_EXISTS = 183;
// Opens the file for reading and writing, and makes it if there is none. No second handle to it can be opened
// until this one is closed, at the latest by the end of the process. The file can be deleted meanwhile. The
// arguments after `path` are always GENERIC_READ | GENERIC_WRITE, FILE_SHARE_DELETE, null, OPEN_ALWAYS,
// FILE_ATTRIBUTE_NORMAL and null. INVALID_HANDLE_VALUE on failure.
HANDLE CreateFileA(LPCSTR path, DWORD access, DWORD share, void* security, DWORD disposition,
                   DWORD attributes, HANDLE templateFile);
// Of the last CreateFileA: ERROR_ALREADY_EXISTS if it opened a file that was there, 0 if it made the file,
// ERROR_SHARING_VIOLATION if the file has another handle.
DWORD GetLastError();

// A count of 100 ns in two halves.
struct FILETIME
{
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};
void GetSystemTimeAsFileTime(FILETIME* now);
// When the file was last written. `created` and `accessed` are null.
BOOL GetFileTime(HANDLE file, FILETIME* created, FILETIME* accessed, FILETIME* written);
BOOL SetFileTime(HANDLE file, const FILETIME* created, const FILETIME* accessed, const FILETIME* written);

constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;
constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x1;
constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
// A link that leads nowhere exists.
DWORD GetFileAttributesA(LPCSTR path);
// Gives the owner all rights to a file or folder that is not to be read-only. Other attributes are ignored.
BOOL SetFileAttributesA(LPCSTR path, DWORD attributes);

struct WIN32_FIND_DATAA
{
    DWORD dwFileAttributes;
    char cFileName[MAX_PATH];
};
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(-1);
// `pattern` is a directory and "\*.*", which matches every name in it, "." and ".." included. Only files and
// directories are yielded; a link counts as what it leads to.
HANDLE FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* data);
BOOL FindNextFileA(HANDLE find, WIN32_FIND_DATAA* data);
BOOL FindClose(HANDLE find);

// --- Files through the C library ---

using errno_t = int;
constexpr int _SH_DENYNO = 0x40;
// Both fail for a directory, and never wait for the other end of a FIFO or a device.
errno_t fopen_s(std::FILE** file, LPCSTR path, LPCSTR mode);
std::FILE* _fsopen(LPCSTR path, LPCSTR mode, int share);
int _fseeki64(std::FILE* file, std::int64_t offset, int origin);
std::int64_t _ftelli64(std::FILE* file);
int _fileno(std::FILE* file);
// The system's handle of the descriptor, as a number. It is closed with the descriptor.
std::intptr_t _get_osfhandle(int descriptor);
// Not 0 if the descriptor leads to a terminal.
int _isatty(int descriptor);

// --- Memory ---

// `alignment` is a power of two. Null if there is not enough memory. Large blocks lie on huge pages where the
// system has them, which saves most of the page faults of filling a fresh one.
void* _aligned_malloc(std::size_t size, std::size_t alignment);
void _aligned_free(void* block);

struct MEMORYSTATUSEX
{
    DWORD dwLength;         // set by the caller to the size of the record
    ULONGLONG ullAvailPhys; // bytes that can be had without swapping
};
BOOL GlobalMemoryStatusEx(MEMORYSTATUSEX* status);

constexpr DWORD PAGE_READONLY = 2;
constexpr DWORD FILE_MAP_READ = 4;
// The whole file, for reading; null on failure. `security` and `name` are null, both halves of the size 0.
HANDLE CreateFileMappingA(HANDLE file, void* security, DWORD protection, DWORD sizeHigh, DWORD sizeLow,
                          LPCSTR name);
// The first `size` bytes of the file; null on failure. Both halves of the offset are 0.
void* MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow, std::size_t size);
BOOL UnmapViewOfFile(const void* view);

struct WIN32_MEMORY_RANGE_ENTRY
{
    void* VirtualAddress; // at the start of a page
    std::size_t NumberOfBytes;
};
HANDLE GetCurrentProcess();
// Asks the system to fetch the bytes of the ranges into memory, and does not wait for them. `flags` is 0.
BOOL PrefetchVirtualMemory(HANDLE process, ULONG_PTR count, WIN32_MEMORY_RANGE_ENTRY* ranges, DWORD flags);

// --- The processor: only where it is a 64-bit Intel or AMD one ---

// The four registers a, b, c, d of the identification's leaf. Leaf 0 gives the highest leaf in a; what a
// higher one gives means nothing.
void __cpuid(int registers[4], int leaf);
void __cpuidex(int registers[4], int leaf, int subleaf);
// The extended control register with this number. Register 0 tells which register sets the system saves. Call
// it only if leaf 1 has the bit that says that the system allows it.
unsigned long long _xgetbv(unsigned int number);

// --- Processes ---

constexpr DWORD PROCESS_TERMINATE = 0x1;
constexpr DWORD PROCESS_VM_READ = 0x10;
constexpr DWORD PROCESS_QUERY_INFORMATION = 0x400;
DWORD GetCurrentProcessId();
// `size` and `filled` in bytes. Processes that do not fit are not listed, nor are those whose executable
// can't be read.
BOOL EnumProcesses(DWORD* processes, DWORD size, DWORD* filled);
// Null if the process is gone or the access is refused.
HANDLE OpenProcess(DWORD access, BOOL inheritHandle, DWORD process);
// Gives the executable, the first module of a process, and no other.
BOOL EnumProcessModules(HANDLE process, HMODULE* modules, DWORD size, DWORD* needed);
// The executable's file name, without the mark that the system appends to a removed one. 0 on failure.
DWORD GetModuleBaseNameA(HANDLE process, HMODULE module, LPSTR name, DWORD size);
BOOL TerminateProcess(HANDLE process, UINT exitCode);
// Of a process, a file or a mapping.
BOOL CloseHandle(HANDLE handle);

// --- Starting programs ---

constexpr int SW_SHOWDEFAULT = 10;
// A value above 32 only if the program was started. It runs detached, inherits the environment and the
// current directory, against which a bare file name is resolved. Sets a missing execute bit. `verb` is
// "open", `parameters` is empty, so that the program gets no arguments, and `directory` is null.
HINSTANCE ShellExecuteA(HWND owner, LPCSTR verb, LPCSTR file, LPCSTR parameters, LPCSTR directory, int show);

// --- Messages, icon, taskbar ---

constexpr UINT MB_OK = 0;
constexpr UINT MB_ICONERROR = 16;
// Modal; works before any QApplication exists too. `owner` is null.
int MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT type);

constexpr int GCLP_HICON = -14;
inline LPCSTR MAKEINTRESOURCEA(int number)
{
    return reinterpret_cast<LPCSTR>(static_cast<ULONG_PTR>(number));
}
HMODULE GetModuleHandleA(LPCSTR name);
HICON LoadIconA(HINSTANCE module, LPCSTR name);
// Sets the icon of the window with this handle.
ULONG_PTR SetClassLongPtrA(HWND window, int index, LONG_PTR value);

struct GUID
{
    DWORD data1;
};
constexpr GUID CLSID_TaskbarList = {0x56FDF344};
constexpr GUID IID_ITaskbarList3 = {0xEA1AFB91};
constexpr DWORD CLSCTX_ALL = 23;
enum TBPFLAG
{
    TBPF_NOPROGRESS = 0
};
// What the program uses of the taskbar's interface. No such object is ever created here.
struct ITaskbarList3
{
    virtual HRESULT STDMETHODCALLTYPE SetProgressValue(HWND window, ULONGLONG completed, ULONGLONG total) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetProgressState(HWND window, TBPFLAG flags) = 0;
};
// Always fails, and sets `object` to null.
HRESULT CoCreateInstance(const GUID& classId, void* outer, DWORD context, const GUID& interfaceId,
                         void** object);

// --- Time ---

using __time64_t = std::int64_t;
__time64_t _time64(__time64_t* time);
errno_t _localtime64_s(std::tm* local, const __time64_t* time);
void Sleep(DWORD milliseconds);
// Asks for a timer that ticks as often, and gives it back: each call of the first needs one of the second. 0
// for success. Without it, Windows' timer ticks each 15.6 ms, and a sleep lasts until its next tick.
UINT timeBeginPeriod(UINT milliseconds);
UINT timeEndPeriod(UINT milliseconds);

#endif
