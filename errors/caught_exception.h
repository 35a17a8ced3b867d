// The one catch boundary of every operation that lets no exception out.
#pragma once

#include <optional>
#include <type_traits>
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

/// Calls `body` in a function of its own: a fault may cost the objects of the function it is in.
template <class Body>
auto CallInRegion(Body& body) -> decltype(body()) {
    using Result = decltype(body());
    using Kept = std::conditional_t<std::is_void_v<Result>, bool, Result>;
    struct Call {
        Body& body;
        std::optional<Kept> result;
    } call{body, std::nullopt};
    platform::faults::CallInRegion(
        [](void* object) {
            auto& each = *static_cast<Call*>(object);
            if constexpr (std::is_void_v<Result>) {
                each.body();
            } else {
                each.result.emplace(each.body());
            }
        },
        &call);
    if constexpr (!std::is_void_v<Result>) {
        return std::move(*call.result);
    }
}

/// Runs `body` in a protected region and gives its result. When it throws or faults, the result is
/// that of `onError(CaughtException)`.
template <class Body, class OnError>
auto RunProtected(const ErrorSite& site, const wchar_t* unknownText, Body&& body, OnError&& onError)
    -> decltype(std::forward<Body>(body)()) {
    const ProtectedRegion region;
    try {
        return CallInRegion(body);
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
