// A file by which a running program tells others something.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>

namespace CQXBASE::platform::files {

/// The file appears complete, or not at all, and goes away with the object, unless somebody has
/// put another one in its place by then. Everybody may read it.
class PublishedFile {
  public:
    /// Takes the place of a file that is there, but not of one that InUse is true for. Links
    /// are never followed. Throws std::system_error.
    PublishedFile(std::filesystem::path path, std::string_view bytes);
    ~PublishedFile();
    PublishedFile(const PublishedFile&) = delete;
    PublishedFile& operator=(const PublishedFile&) = delete;

    /// Whether the file is one that an object has published and still stands for. One that a
    /// crashed program left is not.
    static bool InUse(const std::filesystem::path& path) noexcept;

  private:
    const std::filesystem::path path_;
    std::intptr_t file_ = -1;  ///< descriptor or handle, whose lock says that the file is in use
};

}  // namespace CQXBASE::platform::files
