#include "server/operation/port_file.h"

#include <filesystem>
#include <system_error>

#include "server/server_error.h"

namespace CQXSERVER::operation {

namespace fs = std::filesystem;
namespace files = CQXBASE::platform::files;

PortFile::PortFile(const std::string& path, std::uint16_t port) {
    if (path.empty()) {
        return;
    }
    const std::string failure = "can't write the port file '" + path + "': ";
    const fs::path target = fs::u8path(path);
    std::error_code error;
    const fs::file_status there = fs::symlink_status(target, error);
    if (fs::exists(there) && !fs::is_regular_file(there)) {
        throw OperatorError(failure + "what is there is no file");
    }
    if (files::PublishedFile::InUse(target)) {
        throw OperatorError(failure + "it is that of another server, which is running");
    }
    try {
        file_.emplace(target, std::to_string(port) + "\n");
    } catch (const std::system_error& e) {
        throw OperatorError(failure + e.code().message());
    }
}

}  // namespace CQXSERVER::operation
