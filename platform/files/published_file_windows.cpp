#include <random>
#include <string>
#include <system_error>
#include <utility>
#include <windows.h>

#include "platform/files/published_file.h"

namespace CQXBASE::platform::files {
namespace {

/// Sharing all but the right to delete: nobody moves or replaces a file that is open like this.
constexpr DWORD kHold = FILE_SHARE_READ | FILE_SHARE_WRITE;

HANDLE Open(const std::filesystem::path& path, DWORD access, DWORD share, DWORD how) noexcept {
    return CreateFileW(path.c_str(), access, share, nullptr, how, FILE_ATTRIBUTE_NORMAL, nullptr);
}

/// 0 or an error number.
DWORD Write(const std::filesystem::path& path, std::string_view bytes) noexcept {
    const HANDLE file = Open(path, GENERIC_WRITE, 0, CREATE_NEW);
    if (file == INVALID_HANDLE_VALUE) {
        return GetLastError();
    }
    DWORD written = 0;
    const BOOL done =
        WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    const DWORD error = done != 0 ? ERROR_SUCCESS : GetLastError();
    CloseHandle(file);
    return error;
}

}  // namespace

PublishedFile::PublishedFile(std::filesystem::path path, std::string_view bytes)
    : path_(std::move(path)) {
    const std::filesystem::path unfinished =
        path_.wstring() + L"." + std::to_wstring(std::random_device()()) + L".new";
    DWORD error = Write(unfinished, bytes);
    if (error == ERROR_SUCCESS &&
        MoveFileExW(unfinished.c_str(), path_.c_str(), MOVEFILE_REPLACE_EXISTING) == 0) {
        error = GetLastError();
        DeleteFileW(unfinished.c_str());
    }
    if (error != ERROR_SUCCESS) {
        throw std::system_error(static_cast<int>(error), std::system_category());
    }
    file_ = reinterpret_cast<std::intptr_t>(Open(path_, GENERIC_READ, kHold, OPEN_EXISTING));
}

PublishedFile::~PublishedFile() {
    const HANDLE file = reinterpret_cast<HANDLE>(file_);
    if (file != INVALID_HANDLE_VALUE) {
        CloseHandle(file);
        DeleteFileW(path_.c_str());
    }
}

bool PublishedFile::InUse(const std::filesystem::path& path) noexcept {
    const HANDLE file = Open(path, DELETE, kHold | FILE_SHARE_DELETE, OPEN_EXISTING);
    if (file == INVALID_HANDLE_VALUE) {
        return GetLastError() == ERROR_SHARING_VIOLATION;
    }
    CloseHandle(file);
    return false;
}

}  // namespace CQXBASE::platform::files
