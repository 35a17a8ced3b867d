#include "errors/fault_names.h"

#include <algorithm>
#include <iterator>

namespace CQXBASE {
namespace {

struct NamedCode {
    std::uint32_t code;
    const wchar_t* name;
};

// Four rows are no exception codes but the platform's filter results and its parameter limit: a
// fault raised with such a number is named after it all the same.
constexpr NamedCode kNames[] = {
    {0xC0000005, L"EXCEPTION_ACCESS_VIOLATION"},
    {0xC000008C, L"EXCEPTION_ARRAY_BOUNDS_EXCEEDED"},
    {0x80000003, L"EXCEPTION_BREAKPOINT"},
    {0xFFFFFFFF, L"EXCEPTION_CONTINUE_EXECUTION"},
    {0x00000000, L"EXCEPTION_CONTINUE_SEARCH"},
    {0x80000002, L"EXCEPTION_DATATYPE_MISALIGNMENT"},
    {0x00000001, L"EXCEPTION_EXECUTE_HANDLER"},
    {0xC000008D, L"EXCEPTION_FLT_DENORMAL_OPERAND"},
    {0xC000008E, L"EXCEPTION_FLT_DIVIDE_BY_ZERO"},
    {0xC000008F, L"EXCEPTION_FLT_INEXACT_RESULT"},
    {0xC0000090, L"EXCEPTION_FLT_INVALID_OPERATION"},
    {0xC0000091, L"EXCEPTION_FLT_OVERFLOW"},
    {0xC0000092, L"EXCEPTION_FLT_STACK_CHECK"},
    {0xC0000093, L"EXCEPTION_FLT_UNDERFLOW"},
    {0x80000001, L"EXCEPTION_GUARD_PAGE"},
    {0xC000001D, L"EXCEPTION_ILLEGAL_INSTRUCTION"},
    {0xC0000006, L"EXCEPTION_IN_PAGE_ERROR"},
    {0xC0000094, L"EXCEPTION_INT_DIVIDE_BY_ZERO"},
    {0xC0000095, L"EXCEPTION_INT_OVERFLOW"},
    {0xC0000026, L"EXCEPTION_INVALID_DISPOSITION"},
    {0xC0000008, L"EXCEPTION_INVALID_HANDLE"},
    {0x0000000F, L"EXCEPTION_MAXIMUM_PARAMETERS"},
    {0xC0000025, L"EXCEPTION_NONCONTINUABLE_EXCEPTION"},
    {0xC0000096, L"EXCEPTION_PRIV_INSTRUCTION"},
    {0x80000004, L"EXCEPTION_SINGLE_STEP"},
    {0xC00000FD, L"EXCEPTION_STACK_OVERFLOW"},
};

}  // namespace

const wchar_t* FaultName(std::uint32_t code) noexcept {
    const auto* row = std::find_if(std::begin(kNames), std::end(kNames),
                                   [code](const NamedCode& each) { return each.code == code; });
    return row != std::end(kNames) ? row->name : L"unspecified Structed exception.";
}

}  // namespace CQXBASE
