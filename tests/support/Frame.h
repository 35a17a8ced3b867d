// Frames as a peer makes them. The including test links qxdb_transport.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include <ace/CDR_Stream.h>

#include <qxdb/QXIOBase.h>

#include "transport/frame.h"
#include "transport/frame_cipher.h"

namespace qxdb_test {

/// The CDR of a record, little-endian. Throws std::runtime_error.
inline std::string EncodeRecord(CQXBASE::QXIOBase& record) {
    ACE_OutputCDR out(record.size() + 1, ACE_CDR::BYTE_ORDER_LITTLE_ENDIAN);
    if (record.toCDR(out) == 0 || out.consolidate() != 0) {
        throw std::runtime_error("the record can't be encoded");
    }
    return {out.begin()->rd_ptr(), out.total_length()};
}

/// The key is derived once a process.
inline const CQXBASE::FrameCipher& Cipher() {
    static const CQXBASE::FrameCipher cipher;
    return cipher;
}

inline std::string Encipher(const std::string& plain) {
    return Cipher().Encipher(plain);
}

/// Header and body; enciphered when asked.
inline std::string MakeFrame(std::uint32_t code, const std::string& body, bool encipher = true) {
    const std::string wire = encipher ? Encipher(body) : body;
    CQXBASE::FrameHeader header;
    header.typeCode = code;
    header.bodyLength = static_cast<std::uint32_t>(wire.size());
    header.plainLength = encipher ? static_cast<std::uint32_t>(body.size()) : 0;
    const CQXBASE::FrameHeaderBytes bytes = CQXBASE::EncodeFrameHeader(header);
    return std::string(bytes.data(), bytes.size()) + wire;
}

}  // namespace qxdb_test
