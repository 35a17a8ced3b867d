#include <qxdb/QXProxyInfo.h>

#include "objects/encoding/cdr_fields.h"

namespace CQXDB {

int QXProxyInfo::toCDR(ACE_OutputCDR& out) const {
    return CQXBASE::WriteLong(out, kind) && CQXBASE::WriteWide(out, host) &&
           CQXBASE::WriteLong(out, port) && CQXBASE::WriteWide(out, user) &&
           CQXBASE::WriteWide(out, password);
}

int QXProxyInfo::fromCDR(ACE_InputCDR& in) {
    return CQXBASE::ReadLong(in, kind) && CQXBASE::ReadWide(in, host) &&
           CQXBASE::ReadLong(in, port) && CQXBASE::ReadWide(in, user) &&
           CQXBASE::ReadWide(in, password);
}

std::size_t QXProxyInfo::size() {
    return 2 * CQXBASE::kNumberSize + CQXBASE::WideSize(host) + CQXBASE::WideSize(user) +
           CQXBASE::WideSize(password);
}

}  // namespace CQXDB
