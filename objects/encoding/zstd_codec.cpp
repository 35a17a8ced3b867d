#include "objects/encoding/zstd_codec.h"

#include <new>

#include <zstd.h>

namespace CQXDB::encoding {
namespace {

constexpr int kLevel = 1;
constexpr std::size_t kWorthIt = 64;  ///< fewer bytes hardly ever become fewer

}  // namespace

void ZstdPacker::Free::operator()(ZSTD_CCtx_s* context) const noexcept {
    ZSTD_freeCCtx(context);
}

bool ZstdPacker::Pack(const PlainBytes& plain, PlainBytes& packed) {
    if (plain.size() < kWorthIt) {
        return false;
    }
    if (!context_) {
        context_.reset(ZSTD_createCCtx());
        if (!context_) {
            throw std::bad_alloc();
        }
    }
    packed.Resize(ZSTD_compressBound(plain.size()));
    const std::size_t size = ZSTD_compressCCtx(context_.get(), packed.data(), packed.size(),
                                               plain.data(), plain.size(), kLevel);
    if (ZSTD_isError(size) != 0 || size >= plain.size()) {
        return false;
    }
    packed.Resize(size);
    return true;
}

bool ZstdUnpack(const char* packed, std::size_t packedSize, char* plain, std::size_t plainSize) {
    return ZSTD_decompress(plain, plainSize, packed, packedSize) == plainSize;
}

}  // namespace CQXDB::encoding
