#include <cerrno>
#include <fcntl.h>
#include <random>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "platform/files/published_file.h"

namespace CQXBASE::platform::files {
namespace {

constexpr mode_t kReadableByAll = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;

/// 0 or an error number.
int WriteAll(int file, std::string_view bytes) noexcept {
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written == -1 && errno != EINTR) {
            return errno;
        }
        bytes.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
    return 0;
}

/// The same, for all that comes before others can see the file under its name.
int Prepare(int file, std::string_view bytes) noexcept {
    const int error = WriteAll(file, bytes);
    if (error != 0) {
        return error;
    }
    return fchmod(file, kReadableByAll) == 0 && flock(file, LOCK_EX | LOCK_NB) == 0 ? 0 : errno;
}

}  // namespace

PublishedFile::PublishedFile(std::filesystem::path path, std::string_view bytes)
    : path_(std::move(path)) {
    // A name that nobody can guess, and no file or link that lies there already.
    const std::string unfinished = path_.string() + "." + std::to_string(std::random_device()()) +
                                   std::to_string(std::random_device()()) + ".new";
    const int file = open(unfinished.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                          S_IRUSR | S_IWUSR);
    if (file == -1) {
        throw std::system_error(errno, std::generic_category());
    }
    int error = Prepare(file, bytes);
    if (error == 0 && rename(unfinished.c_str(), path_.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        unlink(unfinished.c_str());
        close(file);
        throw std::system_error(error, std::generic_category());
    }
    file_ = file;
}

PublishedFile::~PublishedFile() {
    struct stat own {};
    struct stat there {};
    if (fstat(static_cast<int>(file_), &own) == 0 && lstat(path_.c_str(), &there) == 0 &&
        own.st_dev == there.st_dev && own.st_ino == there.st_ino) {
        unlink(path_.c_str());
    }
    close(static_cast<int>(file_));
}

bool PublishedFile::InUse(const std::filesystem::path& path) noexcept {
    const int file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file == -1) {
        return false;
    }
    const bool inUse = flock(file, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    close(file);
    return inUse;
}

}  // namespace CQXBASE::platform::files
