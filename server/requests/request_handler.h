// Serves one request: from the frame as it arrived to the frame that answers it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "messages/message_holder.h"
#include "server/network/request.h"
#include "server/requests/command_service.h"
#include "server/requests/request_memory.h"
#include "server/sessions/login_service.h"
#include "server/sessions/session_table.h"

namespace CQXSERVER::requests {

/// Called by the workers, many at once; everything it is given is borrowed.
class RequestHandler {
  public:
    /// A request may take `mostMemory` bytes when it is decoded.
    RequestHandler(sessions::LoginService& logins, CommandService& commands,
                   sessions::SessionTable& sessions, const network::ReplyEncoder& encoder,
                   std::size_t mostMemory);

    /// Lets no exception out: what goes wrong becomes an error reply. Uses the frame's bytes up.
    network::Outcome Handle(network::Request& request) noexcept;
    /// Runs what an earlier outcome left for later, in the same way.
    network::Outcome Resume(const network::Request& request,
                            const std::function<network::Outcome()>& later) noexcept;

    /// An error reply; no reply at all when there is no memory for one.
    network::Outcome Refuse(const network::Request& request, ServerError error) const noexcept;

    /// True for the requests that check a password, which is slow and needs no database.
    static bool IsLogin(std::uint32_t code) noexcept;

  private:
    template <class Serve>
    network::Outcome Guarded(const network::Request& request, Serve serve) noexcept;
    network::Outcome Dispatch(network::Request& request);
    CQXBASE::MessageHolder Decode(network::Request& request, RequestMemory& memory) const;
    network::Outcome TakeText(const network::Request& request, const std::wstring& text);
    network::Outcome Shake(const network::Request& request);
    network::Outcome Logout(const network::Request& request, const std::wstring& login);
    network::Outcome Done(const network::Request& request, const std::string& token) const;

    sessions::LoginService& logins_;
    CommandService& commands_;
    sessions::SessionTable& sessions_;
    const network::ReplyEncoder& encoder_;
    const std::size_t mostMemory_;
};

}  // namespace CQXSERVER::requests
