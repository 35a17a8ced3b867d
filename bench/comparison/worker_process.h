// A bench_worker under way.
#pragma once

#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"

namespace qxdb_bench {

/// Throws std::runtime_error for an answer that is an error, and for a worker that ends.
class WorkerProcess {
  public:
    /// `environment` as in ChildProcess::Options.
    WorkerProcess(const std::string& program, const std::vector<std::string>& side,
                  const std::vector<std::string>& environment = {});

    std::string Ask(const std::string& job);
    double AskNumber(const std::string& job) { return std::stod(Ask(job)); }
    std::vector<double> AskNumbers(const std::string& job);

    /// The two halves of Ask, for workers that are to work at the same time.
    void Begin(const std::string& job);
    std::string End();

  private:
    qxdb_test::ChildProcess process_;
    std::size_t read_ = 0;  ///< how much of the output has been taken
};

}  // namespace qxdb_bench
