// The library's exception type and its throw sites.
#pragma once

#include <exception>
#include <string>

namespace CQXBASE {

/// What went wrong, where it was thrown and where it was first caught. what() gives the standard
/// library's default text; the error text is `message`. Thrown by value, caught by reference, used
/// by the thread that threw it.
class QX_Exception : public std::exception {
  public:
    QX_Exception(const std::wstring& message, const std::wstring& file,
                 const std::wstring& function, int line);
    QX_Exception(const QX_Exception&) = default;
    QX_Exception(QX_Exception&&) = default;
    QX_Exception& operator=(const QX_Exception&) = default;
    QX_Exception& operator=(QX_Exception&&) = default;
    ~QX_Exception() override = default;

    void setCatchFile(const wchar_t* file);          ///< a null pointer changes nothing
    void setCatchFunction(const wchar_t* function);  ///< a null pointer changes nothing
    void setCatchLine(int line) noexcept;            ///< 0 changes nothing

    /// The text to report: `message` and a line feed.
    std::wstring describe() const;

    std::wstring message;
    std::wstring file;      ///< of the throw site
    std::wstring function;  ///< qualified name of the throwing function
    int line;
    std::wstring catchFile;      ///< empty until set
    std::wstring catchFunction;  ///< empty until set
    int catchLine = 0;           ///< 0 until set
};

/// A place in the source where an error is thrown or caught. The texts are literals.
struct ErrorSite {
    const wchar_t* file;
    const wchar_t* function;  ///< qualified, as in L"CQXBASE::QXIO::GetClientIp"
    int line;
};

/// The line on which it is written, in `file` and `function`.
#define QXDB_SITE(file, function)    \
    ::CQXBASE::ErrorSite {           \
        (file), (function), __LINE__ \
    }

[[noreturn]] void Throw(const std::wstring& message, const ErrorSite& site);

/// Throws QX_Exception with this line as its throw site.
#define QXDB_THROW(message, file, function) \
    ::CQXBASE::Throw((message), QXDB_SITE((file), (function)))

}  // namespace CQXBASE
