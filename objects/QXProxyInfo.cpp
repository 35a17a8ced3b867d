#include <qxdb/QXProxyInfo.h>

#include "objects/encoding/cdr_fields.h"

namespace CQXDB {

int QXProxyInfo::toCDR(ACE_OutputCDR& out) const {
    return CQXBASE::encoding::WriteLong(out, kind) && CQXBASE::encoding::WriteWide(out, host) &&
           CQXBASE::encoding::WriteLong(out, port) && CQXBASE::encoding::WriteWide(out, user) &&
           CQXBASE::encoding::WriteWide(out, password);
}

int QXProxyInfo::fromCDR(ACE_InputCDR& in) {
    return CQXBASE::encoding::ReadLong(in, kind) && CQXBASE::encoding::ReadWide(in, host) &&
           CQXBASE::encoding::ReadLong(in, port) && CQXBASE::encoding::ReadWide(in, user) &&
           CQXBASE::encoding::ReadWide(in, password);
}

std::size_t QXProxyInfo::size() {
    return 2 * CQXBASE::encoding::kNumberSize + CQXBASE::encoding::WideSize(host) +
           CQXBASE::encoding::WideSize(user) + CQXBASE::encoding::WideSize(password);
}

}  // namespace CQXDB
