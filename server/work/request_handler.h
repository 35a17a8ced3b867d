// Serves one request: from the frame as it arrived to the frame that answers it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "messages/message_holder.h"
#include "server/network/request.h"
#include "server/sessions/login_service.h"
#include "server/sessions/session_table.h"
#include "server/work/command_service.h"
#include "server/work/request_memory.h"

namespace CQXSERVER {

/// Called by the workers, many at once; everything it is given is borrowed.
class RequestHandler {
  public:
    /// A request may take `mostMemory` bytes when it is decoded.
    RequestHandler(LoginService& logins, CommandService& commands, SessionTable& sessions,
                   const ReplyEncoder& encoder, std::size_t mostMemory);

    /// Lets no exception out: what goes wrong becomes an error reply. Uses the frame's bytes up.
    Outcome Handle(Request& request) noexcept;
    /// Runs what an earlier outcome left for later, in the same way.
    Outcome Resume(const Request& request, const std::function<Outcome()>& later) noexcept;

    /// An error reply; no reply at all when there is no memory for one.
    Outcome Refuse(const Request& request, ServerError error) const noexcept;

    /// True for the requests that check a password, which is slow and needs no database.
    static bool IsLogin(std::uint32_t code) noexcept;

  private:
    template <class Serve>
    Outcome Guarded(const Request& request, Serve serve) noexcept;
    Outcome Dispatch(Request& request);
    CQXBASE::MessageHolder Decode(Request& request, RequestMemory& memory) const;
    Outcome TakeText(const Request& request, const std::wstring& text);
    Outcome Shake(const Request& request);
    Outcome Logout(const Request& request, const std::wstring& login);
    Outcome Done(const Request& request, const std::string& token) const;

    LoginService& logins_;
    CommandService& commands_;
    SessionTable& sessions_;
    const ReplyEncoder& encoder_;
    const std::size_t mostMemory_;
};

}  // namespace CQXSERVER
