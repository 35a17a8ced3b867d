#include <qxdb/QXSvrInfo.h>

#include "objects/encoding/cdr_fields.h"

namespace CQXDB {

int QXSvrInfo::toCDR(ACE_OutputCDR& out) const {
    return CQXBASE::encoding::WriteWide(out, host) && CQXBASE::encoding::WriteLong(out, port) &&
           CQXBASE::encoding::WriteWide(out, database);
}

int QXSvrInfo::fromCDR(ACE_InputCDR& in) {
    return CQXBASE::encoding::ReadWide(in, host) && CQXBASE::encoding::ReadLong(in, port) &&
           CQXBASE::encoding::ReadWide(in, database);
}

std::size_t QXSvrInfo::size() {
    return CQXBASE::encoding::WideSize(host) + CQXBASE::encoding::kNumberSize +
           CQXBASE::encoding::WideSize(database);
}

}  // namespace CQXDB
