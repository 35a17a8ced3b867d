// Compression of column blocks: zstd, at the level that keeps up with a fast network.
#pragma once

#include <cstddef>
#include <memory>

#include "objects/encoding/plain_bytes.h"

struct ZSTD_CCtx_s;

namespace CQXDB::encoding {

/// Compresses one block after the other; one thread at a time.
class ZstdPacker {
  public:
    ZstdPacker() noexcept = default;
    /// Compresses `plain` into `packed` and returns whether that made it smaller.
    bool Pack(const PlainBytes& plain, PlainBytes& packed);

  private:
    struct Free {
        void operator()(ZSTD_CCtx_s* context) const noexcept;
    };
    std::unique_ptr<ZSTD_CCtx_s, Free> context_;  ///< made at the first block worth it
};

/// True when `packed` is whole and gives exactly `plainSize` bytes.
bool ZstdUnpack(const char* packed, std::size_t packedSize, char* plain, std::size_t plainSize);

}  // namespace CQXDB::encoding
