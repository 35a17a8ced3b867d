// The locks that give exchanges their turns.
#pragma once

#include <mutex>
#include <system_error>

#include "util/critical_section.h"

namespace CQXDB {

/// Locks `mutex`, which takes no memory to make, unlike a CQXBASE::critical_section. Fails as that
/// does.
template <typename Mutex>
std::unique_lock<Mutex> LockOf(Mutex& mutex) {
    try {
        return std::unique_lock<Mutex>(mutex);
    } catch (const std::system_error&) {
        throw CQXBASE::critical_section_error("critical_section lock exception");
    }
}

}  // namespace CQXDB
