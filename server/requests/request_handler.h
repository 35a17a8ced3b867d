// Serves one request: from the frame as it arrived to the frame that answers it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
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
                   RunningCommands& running, sessions::SessionTable& sessions,
                   const network::ReplyEncoder& encoder, std::size_t mostMemory);

    /// Whether the rest of a large frame is taken from a connection with `token`, for which the
    /// session has to be known: ServerError::None, or why it is not.
    ServerError Admit(const network::FrameReader& frame, const std::string& token) const noexcept;

    /// Lets no exception out: what goes wrong becomes an error reply. May use the frame's bytes up,
    /// unless the outcome is to be gone on with: then `request` has to stay where it is.
    network::Outcome Handle(network::Request& request) noexcept;
    /// Runs what an earlier outcome left for later, in the same way.
    network::Outcome Resume(const network::Request& request,
                            const std::function<network::Outcome()>& later) noexcept;

    /// True for commands, queries and batches.
    static bool IsCommand(std::uint32_t code) noexcept;

    /// An error reply; no reply at all when there is no memory for one.
    network::Outcome Refuse(const network::Request& request, ServerError error) const noexcept;

  private:
    template <class Serve>
    network::Outcome Guarded(const network::Request& request, Serve serve) noexcept;
    network::Outcome Dispatch(network::Request& request);
    network::Outcome Command(network::Request& request);
    network::Outcome RunCommand(network::Request& request);
    std::string Plain(network::Request& request, RequestMemory& memory) const;
    CQXBASE::MessageHolder Decode(const network::Request& request, const std::string& plain,
                                  RequestMemory& memory) const;
    void RequireSession(const std::optional<std::wstring>& token) const;
    network::Outcome TakeText(const network::Request& request, const std::wstring& text);
    network::Outcome CancelSession(const network::Request& request, const std::wstring& token);
    network::Outcome Shake(const network::Request& request);
    network::Outcome Logout(const network::Request& request, const std::wstring& login);
    network::Outcome Done(const network::Request& request, const std::string& token) const;

    sessions::LoginService& logins_;
    CommandService& commands_;
    RunningCommands& running_;
    sessions::SessionTable& sessions_;
    const network::ReplyEncoder& encoder_;
    const std::size_t mostMemory_;
};

}  // namespace CQXSERVER::requests
