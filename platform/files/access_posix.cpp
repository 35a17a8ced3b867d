#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/files/access.h"

namespace CQXBASE::platform::files {
namespace {

constexpr mode_t kOthers = S_IRWXG | S_IRWXO;

std::error_code LastError() noexcept {
    return {errno, std::generic_category()};
}

}  // namespace

void NewFilesForOwnerOnly() noexcept {
    umask(kOthers);
}

bool OpenToOthers(const std::filesystem::path& path) noexcept {
    struct stat found {};
    return stat(path.c_str(), &found) == 0 && (found.st_mode & kOthers) != 0;
}

bool IsOwn(const std::filesystem::path& path) noexcept {
    struct stat found {};
    return stat(path.c_str(), &found) == 0 && found.st_uid == geteuid();
}

std::error_code CloseToOthers(const std::filesystem::path& path) noexcept {
    struct stat found {};
    if (stat(path.c_str(), &found) != 0 || chmod(path.c_str(), found.st_mode & S_IRWXU) != 0) {
        return LastError();
    }
    return {};
}

std::error_code MakePrivate(const std::filesystem::path& path) noexcept {
    const int file =
        open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file == -1) {
        return LastError();
    }
    close(file);
    return {};
}

std::error_code WhyNotOpen(const std::filesystem::path& path) noexcept {
    // Not by opening it: closing it again would take the locks of a database away.
    struct stat found {};
    if (stat(path.c_str(), &found) != 0 ||
        faccessat(AT_FDCWD, path.c_str(), R_OK | W_OK, AT_EACCESS) != 0) {
        return LastError();
    }
    if (S_ISDIR(found.st_mode)) {
        return std::make_error_code(std::errc::is_a_directory);
    }
    return S_ISREG(found.st_mode) ? std::error_code()
                                  : std::make_error_code(std::errc::invalid_argument);
}

}  // namespace CQXBASE::platform::files
