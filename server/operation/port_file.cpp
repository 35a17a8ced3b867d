#include "server/operation/port_file.h"

#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "server/server_error.h"

namespace CQXSERVER::operation {

namespace fs = std::filesystem;

PortFile::PortFile(std::string path, std::uint16_t port) : path_(std::move(path)) {
    if (path_.empty()) {
        return;
    }
    const fs::path target = fs::u8path(path_);
    const fs::path unfinished = fs::u8path(path_ + ".new");
    std::ofstream(unfinished) << port << '\n' << std::flush;
    std::error_code error;
    fs::rename(unfinished, target, error);
    if (error) {
        throw OperatorError("can't write the port file " + path_ + ": " + error.message());
    }
}

PortFile::~PortFile() {
    std::error_code ignored;
    if (!path_.empty()) {
        fs::remove(fs::u8path(path_), ignored);
    }
}

}  // namespace CQXSERVER::operation
