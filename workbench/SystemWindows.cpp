#include "workbench/System.h"

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>
#include <system_error>

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
// In this order: the second one needs the first.
#include <windows.h>
// clang-format off
#include <shellapi.h>
// clang-format on

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>

namespace workbench::system {

namespace {

HANDLE handleOf(Stream stream) noexcept
{
    static constexpr DWORD HANDLES[] = {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
    return GetStdHandle(HANDLES[static_cast<std::size_t>(stream)]);
}

/// Leaves the reason of a failed call of the system where the C library would.
bool failed() noexcept
{
    auto const reason = std::system_category().default_error_condition(static_cast<int>(GetLastError()));
    errno = reason.category() == std::generic_category() ? reason.value() : EIO;
    return false;
}

bool moved(std::filesystem::path const& from, std::filesystem::path const& to, DWORD how) noexcept
{
    return MoveFileExW(from.c_str(), to.c_str(), how) != 0 || failed();
}

std::string toUtf8(std::wstring_view text)
{
    int const size = static_cast<int>(text.size());
    int const bytes = WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), size, result.data(), bytes, nullptr, nullptr);
    return result;
}

UINT s_codePage = 0;   // of the terminal, before this program

}   // namespace

bool isTerminal(Stream stream) noexcept
{
    DWORD mode = 0;
    return GetConsoleMode(handleOf(stream), &mode) != 0;
}

std::optional<std::size_t> terminalColumns() noexcept
{
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (GetConsoleScreenBufferInfo(handleOf(Stream::Output), &info) == 0 || info.srWindow.Right < info.srWindow.Left)
        return std::nullopt;
    return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1);
}

void prepareStreams() noexcept
{
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    if (!isTerminal(Stream::Input))   // a terminal in text mode takes Ctrl+Z as the end of the input
        _setmode(_fileno(stdin), _O_BINARY);
    if (!isTerminal(Stream::Output) && !isTerminal(Stream::Errors))
        return;
    s_codePage = GetConsoleOutputCP();
    if (s_codePage != CP_UTF8 && SetConsoleOutputCP(CP_UTF8) != 0)
        std::atexit([] { SetConsoleOutputCP(s_codePage); });
    for (Stream const stream : {Stream::Output, Stream::Errors}) {
        DWORD mode = 0;
        if (GetConsoleMode(handleOf(stream), &mode) != 0)
            SetConsoleMode(handleOf(stream), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    }
}

std::vector<std::string> argumentsOf(int /*count*/, char const* const* /*words*/)
{
    // The words have lost what the code page of the system lacks.
    int count = 0;
    std::unique_ptr<LPWSTR[], HLOCAL (*)(HLOCAL)> const words(CommandLineToArgvW(GetCommandLineW(), &count),
                                                              &LocalFree);
    if (!words)
        throw std::bad_alloc{};
    std::vector<std::string> result;
    for (int i = 1; i < count; ++i)
        result.push_back(toUtf8(words[static_cast<std::size_t>(i)]));
    return result;
}

unsigned long processId() noexcept
{
    return GetCurrentProcessId();
}

std::filesystem::path pathOf(std::string const& name)
{
    int const size = static_cast<int>(name.size());
    int const units = MultiByteToWideChar(CP_UTF8, 0, name.data(), size, nullptr, 0);
    std::wstring result(static_cast<std::size_t>(units), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, name.data(), size, result.data(), units);
    return result;
}

std::FILE* openToRead(std::filesystem::path const& name) noexcept
{
    // The C library only says that access to a folder is denied.
    DWORD const attributes = GetFileAttributesW(name.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        errno = EISDIR;
        return nullptr;
    }
    return _wfopen(name.c_str(), L"rb");
}

std::FILE* createNew(std::filesystem::path const& name) noexcept
{
    int descriptor = -1;
    int const flags = _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY | _O_NOINHERIT;
    if (_wsopen_s(&descriptor, name.c_str(), flags, _SH_DENYNO, _S_IREAD | _S_IWRITE) != 0)
        return nullptr;
    std::FILE* const file = _fdopen(descriptor, "wb");
    if (file == nullptr)
        _close(descriptor);
    return file;
}

bool moveOver(std::filesystem::path const& from, std::filesystem::path const& to) noexcept
{
    return moved(from, to, MOVEFILE_REPLACE_EXISTING);
}

bool moveUnlessTaken(std::filesystem::path const& from, std::filesystem::path const& to) noexcept
{
    return moved(from, to, 0);
}

}   // namespace workbench::system
