#include <qxdb/QXSvrInfo.h>

#include "objects/encoding/cdr_fields.h"

namespace CQXDB {

int QXSvrInfo::toCDR(ACE_OutputCDR& out) const {
    return CQXBASE::WriteWide(out, host) && CQXBASE::WriteLong(out, port) &&
           CQXBASE::WriteWide(out, database);
}

int QXSvrInfo::fromCDR(ACE_InputCDR& in) {
    return CQXBASE::ReadWide(in, host) && CQXBASE::ReadLong(in, port) &&
           CQXBASE::ReadWide(in, database);
}

std::size_t QXSvrInfo::size() {
    return CQXBASE::WideSize(host) + CQXBASE::kNumberSize + CQXBASE::WideSize(database);
}

}  // namespace CQXDB
