#include "messages/session_records.h"

#include <utility>

#include "objects/encoding/cdr_fields.h"

namespace CQXBASE {

QXOneString::QXOneString(std::wstring newValue) : value(std::move(newValue)) {}

int QXOneString::toCDR(ACE_OutputCDR& out) const {
    return encoding::WriteWide(out, value) && out.good_bit();
}

int QXOneString::fromCDR(ACE_InputCDR& in) {
    return encoding::ReadWide(in, value) && in.good_bit();
}

std::size_t QXOneString::size() {
    return encoding::WideSize(value);
}

QXSimpleMsg::QXSimpleMsg(std::wstring newText, std::uint32_t newCode)
    : text(std::move(newText)), code(newCode) {}

int QXSimpleMsg::toCDR(ACE_OutputCDR& out) const {
    return encoding::WriteULong(out, code) && encoding::WriteWide(out, text) && out.good_bit();
}

int QXSimpleMsg::fromCDR(ACE_InputCDR& in) {
    return encoding::ReadULong(in, code) && encoding::ReadWide(in, text) && in.good_bit();
}

std::size_t QXSimpleMsg::size() {
    return encoding::WideSize(text) + encoding::kNumberSize;
}

int QXSesInfo::toCDR(ACE_OutputCDR& out) const {
    return encoding::WriteULong(out, code) && encoding::WriteWide(out, text) &&
           encoding::WriteWide(out, token) && encoding::WriteWide(out, info) && out.good_bit();
}

int QXSesInfo::fromCDR(ACE_InputCDR& in) {
    return encoding::ReadULong(in, code) && encoding::ReadWide(in, text) &&
           encoding::ReadWide(in, token) && encoding::ReadWide(in, info) && in.good_bit();
}

std::size_t QXSesInfo::size() {
    return encoding::WideSize(text) + encoding::kNumberSize + encoding::WideSize(token) +
           encoding::WideSize(info);
}

}  // namespace CQXBASE
