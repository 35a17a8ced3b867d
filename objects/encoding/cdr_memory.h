// Memory for the CDR streams that are written.
#pragma once

#include <cstdlib>
#include <new>

#include <ace/Malloc_Allocator.h>

namespace CQXBASE::encoding {

/// Zeroed, since alignment skips bytes that are sent too. Throws std::bad_alloc: a stream uses its
/// blocks without looking whether it got them.
class CdrMemory : public ACE_New_Allocator {
  public:
    static ACE_Allocator* Instance() {
        static CdrMemory memory;
        return &memory;
    }

    void* malloc(std::size_t size) override {
        void* const block = std::calloc(1, size);
        if (block == nullptr) {
            throw std::bad_alloc();
        }
        return block;
    }
    void free(void* block) override { std::free(block); }
};

}  // namespace CQXBASE::encoding
