#include "tests/support/TempDir.h"

#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <system_error>

namespace qxdb_test {

TempDir::TempDir() {
    std::random_device random;
    do {
        // Short, since a local socket's path has little room.
        path_ = std::filesystem::temp_directory_path() / ("qxdb-" + std::to_string(random()));
    } while (!std::filesystem::create_directory(path_));
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void WriteFile(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush();
    if (!file) {
        throw std::runtime_error("can't write " + path.string());
    }
}

std::string ReadFile(const std::filesystem::path& path) {
    const std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("can't read " + path.string());
    }
    return {std::istreambuf_iterator<char>(file.rdbuf()), {}};
}

}  // namespace qxdb_test
