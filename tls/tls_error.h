// Why a connection has no TLS, or has it no longer.
#pragma once

#include <exception>
#include <string>

namespace CQXBASE::tls {

/// A CQXDB::QXTlsError and a sentence for people, without the number.
struct Failure {
    int code = 0;
    std::wstring text;
};

/// Settings that can't be used.
class TlsError : public std::exception {
  public:
    explicit TlsError(Failure failure);
    const Failure& Reason() const noexcept { return failure_; }
    const char* what() const noexcept override { return what_.c_str(); }  ///< UTF-8

  private:
    Failure failure_;
    std::string what_;
};

// OpenSSL keeps what went wrong in a queue of the thread, which its calls only add to.

/// To be called before each call whose failure is looked at.
void ForgetErrors() noexcept;
/// Empties the queue: the reasons in it, oldest first, between semicolons; "" for none.
std::string TakeErrors();

}  // namespace CQXBASE::tls
