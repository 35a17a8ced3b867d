#include <qxdb/QXOtpAuth.h>

#include "objects/encoding/cdr_fields.h"

namespace CQXDB {

QXOtpAuth::QXOtpAuth() : kind(0) {}
QXOtpAuth::~QXOtpAuth() {}
QXOtpAuth& QXOtpAuth::operator=(const QXOtpAuth& other) = default;

QXOtpAuth::OtpAuth_Data::OtpAuth_Data(std::uint32_t newKind, const std::string& newFirst,
                                      const std::string& newSecond)
    : kind(newKind), first(newFirst), second(newSecond) {}

int QXOtpAuth::OtpAuth_Data::toCDR(ACE_OutputCDR& out) const {
    return CQXBASE::WriteULong(out, kind) && CQXBASE::WriteNarrow(out, first) &&
           CQXBASE::WriteNarrow(out, second) && out.good_bit();
}

int QXOtpAuth::OtpAuth_Data::fromCDR(ACE_InputCDR& in) {
    return CQXBASE::ReadULong(in, kind) && CQXBASE::ReadNarrow(in, first) &&
           CQXBASE::ReadNarrow(in, second) && in.good_bit();
}

std::size_t QXOtpAuth::OtpAuth_Data::size() {
    return CQXBASE::NarrowSize(first) + CQXBASE::kNumberSize + CQXBASE::NarrowSize(second);
}

}  // namespace CQXDB
