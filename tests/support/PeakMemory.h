// The most memory that the process has had, on Linux.
#pragma once

#include <cstddef>
#include <fstream>
#include <string>

namespace qxdb_test {

/// Since the object was made, in bytes above what there was then.
class PeakMemory {
  public:
    PeakMemory() {
        std::ofstream("/proc/self/clear_refs") << 5;
        before_ = Now();
    }
    std::size_t Growth() const { return Now() - before_; }

  private:
    static std::size_t Now() {
        std::ifstream status("/proc/self/status");
        std::string word;
        std::size_t kib = 0;
        while (status >> word && word != "VmHWM:") {
        }
        status >> kib;
        return kib * 1024;
    }

    std::size_t before_ = 0;
};

}  // namespace qxdb_test
