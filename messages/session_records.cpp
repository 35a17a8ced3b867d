#include "messages/session_records.h"

#include <utility>

#include "objects/encoding/cdr_fields.h"

namespace CQXBASE {

QXOneString::QXOneString(std::wstring newValue) : value(std::move(newValue)) {}

int QXOneString::toCDR(ACE_OutputCDR& out) const {
    return WriteWide(out, value) && out.good_bit();
}

int QXOneString::fromCDR(ACE_InputCDR& in) {
    return ReadWide(in, value) && in.good_bit();
}

std::size_t QXOneString::size() {
    return WideSize(value);
}

QXSimpleMsg::QXSimpleMsg(std::wstring newText, std::uint32_t newCode)
    : text(std::move(newText)), code(newCode) {}

int QXSimpleMsg::toCDR(ACE_OutputCDR& out) const {
    return WriteULong(out, code) && WriteWide(out, text) && out.good_bit();
}

int QXSimpleMsg::fromCDR(ACE_InputCDR& in) {
    return ReadULong(in, code) && ReadWide(in, text) && in.good_bit();
}

std::size_t QXSimpleMsg::size() {
    return WideSize(text) + kNumberSize;
}

int QXSesInfo::toCDR(ACE_OutputCDR& out) const {
    return WriteULong(out, code) && WriteWide(out, text) && WriteWide(out, token) &&
           WriteWide(out, info) && out.good_bit();
}

int QXSesInfo::fromCDR(ACE_InputCDR& in) {
    return ReadULong(in, code) && ReadWide(in, text) && ReadWide(in, token) && ReadWide(in, info) &&
           in.good_bit();
}

std::size_t QXSesInfo::size() {
    return WideSize(text) + kNumberSize + WideSize(token) + WideSize(info);
}

}  // namespace CQXBASE
