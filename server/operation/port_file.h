// Tells other programs which port was picked.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/files/published_file.h"

namespace CQXSERVER::operation {

/// The file holds the port in decimal and a line end for as long as the object lives. It appears
/// complete or not at all. One that a running server has written is left alone. An empty path makes
/// no file.
class PortFile {
  public:
    PortFile(const std::string& path, std::uint16_t port);  ///< throws OperatorError

  private:
    std::optional<CQXBASE::platform::files::PublishedFile> file_;
};

}  // namespace CQXSERVER::operation
