// A lock between processes.
#pragma once

#include <cstdint>
#include <filesystem>

namespace CQXBASE::platform::files {

/// Locks a file for as long as the object lives. The system takes the lock back when the process
/// ends, however it ends, so that none is left over; the file stays, and means nothing by itself.
class FileLock {
  public:
    /// Makes the file, for its owner only, when there is none. Doesn't wait. Throws
    /// std::system_error when the file can't be opened or locked at all.
    explicit FileLock(const std::filesystem::path& file);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    /// False when somebody else has the lock, another object of this process included.
    bool Held() const noexcept { return file_ != kNone; }

  private:
    static constexpr std::intptr_t kNone = -1;

    std::intptr_t file_ = kNone;  ///< descriptor or handle
};

}  // namespace CQXBASE::platform::files
