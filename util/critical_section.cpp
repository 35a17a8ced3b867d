#include "util/critical_section.h"

namespace CQXBASE {
namespace {

constexpr unsigned kSpinCount = 4000;

}  // namespace

critical_section::critical_section() {
    try {
        lock_.emplace(kSpinCount);
    } catch (...) {
        throw critical_section_error("critical_section init exception");
    }
}

critical_section::~critical_section() = default;

void critical_section::lock() {
    try {
        lock_->Enter();
    } catch (...) {
        throw critical_section_error("critical_section lock exception");
    }
}

void critical_section::unlock() noexcept {
    lock_->Leave();
}

}  // namespace CQXBASE
