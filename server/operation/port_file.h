// Tells other programs which port was picked.
#pragma once

#include <cstdint>
#include <string>

namespace CQXSERVER::operation {

/// The file holds the port in decimal and a line end for as long as the object lives. It appears
/// complete or not at all. An empty path makes no file.
class PortFile {
  public:
    PortFile(std::string path, std::uint16_t port);  ///< throws OperatorError
    ~PortFile();
    PortFile(const PortFile&) = delete;
    PortFile& operator=(const PortFile&) = delete;

  private:
    const std::string path_;
};

}  // namespace CQXSERVER::operation
