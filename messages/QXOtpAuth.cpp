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
    return CQXBASE::encoding::WriteULong(out, kind) && CQXBASE::encoding::WriteNarrow(out, first) &&
           CQXBASE::encoding::WriteNarrow(out, second) && out.good_bit();
}

int QXOtpAuth::OtpAuth_Data::fromCDR(ACE_InputCDR& in) {
    return CQXBASE::encoding::ReadULong(in, kind) && CQXBASE::encoding::ReadNarrow(in, first) &&
           CQXBASE::encoding::ReadNarrow(in, second) && in.good_bit();
}

std::size_t QXOtpAuth::OtpAuth_Data::size() {
    return CQXBASE::encoding::NarrowSize(first) + CQXBASE::encoding::kNumberSize +
           CQXBASE::encoding::NarrowSize(second);
}

}  // namespace CQXDB
