#include "tests/injection/injection.h"

#include <fcntl.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/support/TempDir.h"

extern "C" qxdb_test::FaultPlan* QxdbOwnFaultPlan();

namespace qxdb_test {

Injection::Injection() : plan_(QxdbOwnFaultPlan()) {
    plan_->thread = static_cast<int>(syscall(SYS_gettid));
}

Injection::Injection(std::string planFile) : plan_(nullptr), planFile_(std::move(planFile)) {
    WriteFile(planFile_, std::string(sizeof(FaultPlan), '\0'));
    const int file = open(planFile_.c_str(), O_RDWR | O_CLOEXEC);
    void* const shared =
        mmap(nullptr, sizeof(FaultPlan), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (shared == MAP_FAILED) {
        throw std::runtime_error("no shared memory for a fault plan");
    }
    plan_ = static_cast<FaultPlan*>(shared);
}

Injection::~Injection() {
    Disarm();
    if (!planFile_.empty()) {
        munmap(plan_, sizeof(FaultPlan));
    }
}

void Injection::Arm(const Fault& fault, long first) noexcept {
    plan_->error = fault.error;
    plan_->lasting = fault.lasting ? 1 : 0;
    plan_->first = first;
    plan_->seen = 0;
    plan_->failed = 0;
    plan_->calls = static_cast<int>(fault.calls);
}

long Injection::Disarm() noexcept {
    plan_->calls = static_cast<int>(Calls::None);
    return plan_->failed;
}

std::string Injection::PreloadVariable() const {
    return std::string("LD_PRELOAD=") + QXDB_INTERPOSER;
}

std::string Injection::PlanVariable() const {
    return std::string(kFaultPlanVariable) + "=" + planFile_;
}

}  // namespace qxdb_test
