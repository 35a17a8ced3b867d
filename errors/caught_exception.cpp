#include "errors/caught_exception.h"

#include "platform/faults/thread_cancellation.h"
#include "util/text.h"

namespace CQXBASE {
namespace {

CaughtException Stamp(CaughtKind kind, QX_Exception error, const ErrorSite& site) {
    error.setCatchFile(site.file);
    error.setCatchFunction(site.function);
    error.setCatchLine(site.line);
    return {kind, std::move(error)};
}

CaughtException Replace(CaughtKind kind, const std::wstring& message, const ErrorSite& site) {
    return Stamp(kind, QX_Exception(message, site.file, site.function, site.line), site);
}

}  // namespace

CaughtException DescribeCurrentException(const ErrorSite& site, const wchar_t* unknownText) {
    try {
        throw;
    } catch (const QX_Exception& error) {
        return Stamp(CaughtKind::QxException, error, site);
    } catch (const std::exception& error) {
        return Replace(CaughtKind::StdException, ToWide(error.what(), kCodePageAnsi), site);
    } catch (const platform::faults::ThreadCancellation&) {
        throw;
    } catch (...) {
        return Replace(CaughtKind::Unknown, unknownText, site);
    }
}

}  // namespace CQXBASE
