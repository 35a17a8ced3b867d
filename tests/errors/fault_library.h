// A shared library with a catch boundary of its own, as the product's libraries are.
#pragma once

#include <cstddef>

#include <qxdb/Export.h>

#ifdef errors_test_library_EXPORTS
#define FAULT_LIBRARY_API QXDB_SHARED_EXPORT
#else
#define FAULT_LIBRARY_API QXDB_SHARED_IMPORT
#endif

/// Where the library's code faults.
enum class LibraryFault { WriteToNull, CallPureVirtual, OverflowStack };

/// Runs a fault in the library; gives the text that its boundary reports, cut to `capacity`
/// characters with the terminator.
FAULT_LIBRARY_API void ReportOfLibrary(LibraryFault fault, wchar_t* text, std::size_t capacity);

/// Runs the caller's function behind the library's boundary.
FAULT_LIBRARY_API void ReportOfCallback(void (*function)(), wchar_t* text, std::size_t capacity);
