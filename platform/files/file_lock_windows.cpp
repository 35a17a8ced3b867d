#include <system_error>
#include <windows.h>

#include "platform/files/file_lock.h"

namespace CQXBASE::platform::files {

FileLock::FileLock(const std::filesystem::path& file) {
    // Shared with nobody, which is the lock.
    const HANDLE opened = CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                      OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (opened != INVALID_HANDLE_VALUE) {
        file_ = reinterpret_cast<std::intptr_t>(opened);
    } else if (GetLastError() != ERROR_SHARING_VIOLATION) {
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
    }
}

FileLock::~FileLock() {
    if (Held()) {
        CloseHandle(reinterpret_cast<HANDLE>(file_));
    }
}

}  // namespace CQXBASE::platform::files
