#include <windows.h>

#include "platform/files/access.h"

namespace CQXBASE::platform::files {
namespace {

std::error_code TryOpen(const std::filesystem::path& path, DWORD how) noexcept {
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, how, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return {static_cast<int>(GetLastError()), std::system_category()};
    }
    CloseHandle(file);
    return {};
}

}  // namespace

void NewFilesForOwnerOnly() noexcept {}

bool OpenToOthers(const std::filesystem::path& /*path*/) noexcept {
    return false;
}

bool IsOwn(const std::filesystem::path& /*path*/) noexcept {
    return true;
}

std::error_code CloseToOthers(const std::filesystem::path& /*path*/) noexcept {
    return {};
}

std::error_code MakePrivate(const std::filesystem::path& path) noexcept {
    return TryOpen(path, CREATE_NEW);
}

std::error_code WhyNotOpen(const std::filesystem::path& path) noexcept {
    return TryOpen(path, OPEN_EXISTING);
}

}  // namespace CQXBASE::platform::files
