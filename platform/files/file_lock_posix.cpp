#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "platform/files/file_lock.h"

namespace CQXBASE::platform::files {

FileLock::FileLock(const std::filesystem::path& file) {
    const int opened = open(file.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                            S_IRUSR | S_IWUSR);
    if (opened != -1 && flock(opened, LOCK_EX | LOCK_NB) == 0) {
        file_ = opened;
        return;
    }
    const int error = errno;
    if (opened != -1) {
        close(opened);
    }
    if (error != EWOULDBLOCK) {
        throw std::system_error(error, std::generic_category());
    }
}

FileLock::~FileLock() {
    if (Held()) {
        close(static_cast<int>(file_));
    }
}

}  // namespace CQXBASE::platform::files
