// The one catch boundary of every operation that lets no exception out.
#pragma once

#include <utility>

#include "errors/protected_region.h"
#include "errors/qx_exception.h"

namespace CQXBASE {

enum class CaughtKind { QxException, StdException, Unknown };

struct CaughtException {
    CaughtKind kind;
    QX_Exception error;  ///< with the catch site stamped

    std::wstring text() const { return error.describe(); }
};

constexpr const wchar_t* kTransferErrorText = L"trans data error.";
constexpr const wchar_t* kUnexpectedErrorText = L"Unexpected error.";

/// Inside a handler: turns the exception being handled, whatever its type, into a QX_Exception
/// stamped with `site`. `unknownText` is the message for one that isn't a std::exception.
/// Cancelling a POSIX thread unwinds it too; that goes on through this call.
CaughtException DescribeCurrentException(const ErrorSite& site,
                                         const wchar_t* unknownText = kTransferErrorText);

/// Runs `body` in a protected region and gives its result. When it throws or faults, the result is
/// that of `onError(CaughtException)`.
template <class Body, class OnError>
auto RunProtected(const ErrorSite& site, const wchar_t* unknownText, Body&& body, OnError&& onError)
    -> decltype(std::forward<Body>(body)()) {
    // Not inlined: a fault may cost its function's objects, which must not be those of this one.
    using Result = decltype(std::forward<Body>(body)());
    Result (*volatile run)(Body &&) = [](Body&& each) -> Result {
        return std::forward<Body>(each)();
    };
    const ProtectedRegion region;
    try {
        return run(std::forward<Body>(body));
    } catch (...) {
        return std::forward<OnError>(onError)(DescribeCurrentException(site, unknownText));
    }
}

/// The same with kTransferErrorText.
template <class Body, class OnError>
auto RunProtected(const ErrorSite& site, Body&& body, OnError&& onError) {
    return RunProtected(site, kTransferErrorText, std::forward<Body>(body),
                        std::forward<OnError>(onError));
}

}  // namespace CQXBASE
