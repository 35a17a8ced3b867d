// The event demultiplexer of a server with many connections.
#pragma once

#include <cstddef>
#include <memory>

class ACE_Reactor;

namespace CQXBASE::platform::sockets {

/// A reactor for one thread that watches up to `handles` sockets, whatever their numbers: epoll on
/// Linux, select on Windows, where the set that ACE was built with bounds them. Null when the
/// system refuses.
std::unique_ptr<ACE_Reactor> MakeServerReactor(std::size_t handles);

/// Raises the process's limit on open descriptors as far as it goes and returns it.
std::size_t RaiseHandleLimit() noexcept;

}  // namespace CQXBASE::platform::sockets
