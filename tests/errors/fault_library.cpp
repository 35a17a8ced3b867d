#include "fault_library.h"

#include <string>

#include "faults.h"

using namespace CQXBASE::test;

void ReportOfLibrary(LibraryFault fault, wchar_t* text, std::size_t capacity) {
    ReportOfCallback(fault == LibraryFault::WriteToNull       ? WriteToNull
                     : fault == LibraryFault::CallPureVirtual ? CallPureVirtual
                                                              : OverflowStack,
                     text, capacity);
}

void ReportOfCallback(void (*function)(), wchar_t* text, std::size_t capacity) {
    const std::wstring report = Report(function);
    text[report.copy(text, capacity - 1)] = L'\0';
}
