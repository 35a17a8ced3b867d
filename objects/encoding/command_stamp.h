// What the agent stamps on a command or list: it travels in front of the statements.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <qxdb/QXDataSource.h>

#include "objects/encoding/cdr_fields.h"

namespace CQXDB::encoding {

inline bool WriteStamp(ACE_OutputCDR& out, const QXDataSource& dataSource,
                       const std::wstring& token, std::int32_t pageSize, std::int32_t pageNo) {
    return dataSource.toCDR(out) != 0 && CQXBASE::encoding::WriteWide(out, token) &&
           CQXBASE::encoding::WriteLong(out, pageSize) && CQXBASE::encoding::WriteLong(out, pageNo);
}

inline bool ReadStamp(ACE_InputCDR& in, QXDataSource& dataSource, std::wstring& token,
                      std::int32_t& pageSize, std::int32_t& pageNo) {
    return dataSource.fromCDR(in) != 0 && CQXBASE::encoding::ReadWide(in, token) &&
           CQXBASE::encoding::ReadLong(in, pageSize) && CQXBASE::encoding::ReadLong(in, pageNo);
}

inline std::size_t StampSize(QXDataSource dataSource, const std::wstring& token) {
    return dataSource.size() + CQXBASE::encoding::WideSize(token) +
           2 * CQXBASE::encoding::kNumberSize;
}

}  // namespace CQXDB::encoding
