#include "errors/qx_exception.h"

namespace CQXBASE {
namespace {

constexpr std::size_t kDescriptionRoom = 4096;  // characters

}  // namespace

QX_Exception::QX_Exception(const std::wstring& theMessage, const std::wstring& theFile,
                           const std::wstring& theFunction, int theLine)
    : message(theMessage), file(theFile), function(theFunction), line(theLine) {}

void QX_Exception::setCatchFile(const wchar_t* theFile) {
    if (theFile != nullptr) {
        catchFile = theFile;
    }
}

void QX_Exception::setCatchFunction(const wchar_t* theFunction) {
    if (theFunction != nullptr) {
        catchFunction = theFunction;
    }
}

void QX_Exception::setCatchLine(int theLine) noexcept {
    if (theLine != 0) {
        catchLine = theLine;
    }
}

std::wstring QX_Exception::describe() const {
    std::wstring text;
    text.reserve(kDescriptionRoom);
    text.append(message).append(1, L'\n');
    return text;
}

void Throw(const std::wstring& message, const ErrorSite& site) {
    throw QX_Exception(message, site.file, site.function, site.line);
}

}  // namespace CQXBASE
