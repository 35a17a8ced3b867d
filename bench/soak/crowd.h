// The client processes as the run sees them.
#pragma once

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "plan.h"
#include "tests/support/ChildProcess.h"

namespace qxdb_soak {

class Crowd {
  public:
    Crowd(const Plan& plan, std::string folder, std::uint16_t serverPort);

    /// Ends a third of them with SIGKILL, picked at random, and starts their successors.
    void KillAThird(std::mt19937& random);
    /// Names of clients that have noted nothing for a minute, or have ended by themselves.
    std::string Stuck();
    /// Asks all to end and waits; names of those that did not.
    std::string Stop();
    /// Waits until all idle sessions are there; false after a minute.
    bool AllIdleThere() const;

    int Count() const noexcept { return static_cast<int>(members_.size()); }
    long Killed() const noexcept { return killed_; }

  private:
    struct Member {
        int sessions = 0;  ///< 0 for a working client
        int life = 0;
        std::unique_ptr<qxdb_test::ChildProcess> process;
    };

    void Start(std::size_t client);

    const Plan plan_;
    const std::string folder_;
    const std::uint16_t serverPort_;
    std::vector<Member> members_;
    long killed_ = 0;
};

}  // namespace qxdb_soak
