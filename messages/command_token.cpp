#include "messages/command_token.h"

#include <qxdb/QXDataSource.h>

#include "messages/body_stream.h"
#include "objects/encoding/cdr_fields.h"
#include "objects/encoding/format_version.h"

namespace CQXBASE {

std::optional<std::wstring> CommandToken(const char* body, std::size_t length, bool littleEndian) {
    const AlignedBytes aligned(body, length);
    BorrowedStream stream(aligned.Begin(), length, littleEndian);
    CQXDB::QXDataSource dataSource;
    std::wstring token;
    const bool read = CQXDB::encoding::ReadVersion(stream.Get()) &&
                      dataSource.fromCDR(stream.Get()) != 0 &&
                      encoding::ReadWide(stream.Get(), token);
    return read ? std::optional<std::wstring>(std::move(token)) : std::nullopt;
}

}  // namespace CQXBASE
