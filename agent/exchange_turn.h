// When an exchange may begin, among those of all agents of the process.
#pragma once

namespace CQXDB {

/// One exchange, from before its request is sent until its reply is decoded. One that is made
/// within another one on the same thread, by a host's record or log callback, begins at once.
class ExchangeTurn {
  public:
    /// Waits for the exchanges under way to end, or for AllowConcurrent(true). Throws
    /// CQXBASE::critical_section_error.
    ExchangeTurn();
    ~ExchangeTurn();
    ExchangeTurn(const ExchangeTurn&) = delete;
    ExchangeTurn& operator=(const ExchangeTurn&) = delete;

    static void AllowConcurrent(bool allow) noexcept;
};

}  // namespace CQXDB
