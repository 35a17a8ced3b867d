#include <array>
#include <windows.h>

#include "platform/console/password_prompt.h"
#include "platform/text/code_page.h"

namespace CQXBASE::platform::console {
namespace {

/// A console handle of its own, with the echo off as long as it lives.
class SilentConsole {
  public:
    SilentConsole()
        : handle_(CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                              OPEN_EXISTING, 0, nullptr)) {
        ready_ = handle_ != INVALID_HANDLE_VALUE && GetConsoleMode(handle_, &mode_) != 0 &&
                 SetConsoleMode(handle_, (mode_ & ~ENABLE_ECHO_INPUT) | ENABLE_LINE_INPUT) != 0;
    }
    ~SilentConsole() {
        if (ready_) {
            SetConsoleMode(handle_, mode_);
        }
        if (handle_ != INVALID_HANDLE_VALUE) {
            CloseHandle(handle_);
        }
    }
    SilentConsole(const SilentConsole&) = delete;
    SilentConsole& operator=(const SilentConsole&) = delete;

    bool Ready() const noexcept { return ready_; }
    HANDLE Get() const noexcept { return handle_; }

  private:
    HANDLE handle_;
    DWORD mode_ = 0;
    bool ready_ = false;
};

void WriteConsoleText(const std::wstring& text) {
    const HANDLE out = CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_WRITE,
                                   nullptr, OPEN_EXISTING, 0, nullptr);
    if (out != INVALID_HANDLE_VALUE) {
        DWORD written = 0;
        WriteConsoleW(out, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
        CloseHandle(out);
    }
}

}  // namespace

bool StdinIsTerminal() noexcept {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &mode) != 0;
}

bool ReadHiddenLine(const std::string& prompt, std::string& line) {
    const SilentConsole console;
    std::array<wchar_t, 1024> buffer{};
    DWORD count = 0;
    if (!console.Ready()) {
        return false;
    }
    WriteConsoleText(text::Widen(prompt.c_str(), CP_UTF8));
    const BOOL read = ReadConsoleW(console.Get(), buffer.data(), static_cast<DWORD>(buffer.size()),
                                   &count, nullptr);
    WriteConsoleText(L"\n");
    if (read == 0) {
        return false;
    }
    std::wstring typed(buffer.data(), count);
    SecureZeroMemory(buffer.data(), buffer.size() * sizeof(wchar_t));
    while (!typed.empty() && (typed.back() == L'\n' || typed.back() == L'\r')) {
        typed.pop_back();
    }
    line = text::Narrow(typed.c_str(), CP_UTF8);
    return true;
}

}  // namespace CQXBASE::platform::console
