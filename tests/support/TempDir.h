// A folder of a test's own.
#pragma once

#include <filesystem>
#include <string>

namespace qxdb_test {

/// Made empty under the system's folder for temporary files; removed with all it holds on
/// destruction.
class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& Path() const noexcept { return path_; }
    /// The path of an entry in the folder, existing or not.
    std::string File(const std::string& name) const { return (path_ / name).string(); }

  private:
    std::filesystem::path path_;
};

/// Writes `bytes` to `path`, which it replaces. Throws std::runtime_error.
void WriteFile(const std::filesystem::path& path, const std::string& bytes);
/// All bytes of a file. Throws std::runtime_error.
std::string ReadFile(const std::filesystem::path& path);

}  // namespace qxdb_test
