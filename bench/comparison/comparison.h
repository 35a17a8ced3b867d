// The experiments.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "results.h"
#include "servers.h"
#include "worker_process.h"

namespace qxdb_bench {

struct Plan {
    std::string programs;    ///< folder of qxdbserver, bench_worker and bench_sessions
    std::string keptKeyLib;  ///< folder of an agent library that keeps the frame key; "" for none
    bool quick = false;      ///< fewer turns and rows: to see that all works
};

/// A side's worker, with the name that its results go by.
struct Named {
    std::string name;
    std::unique_ptr<WorkerProcess> worker;
};

class Comparison {
  public:
    explicit Comparison(const Plan& plan);

    void Fill();
    /// Throws when a side delivers other rows than those that went in.
    void CheckRows();
    void SmallQuery();
    void Fetch(const std::string& table);
    void Insert();
    void PlainFrames();
    void Growth();
    void Memory();
    void Processes();
    void Sessions();

    const Results& All() const noexcept { return results_; }

  private:
    WorkerProcess& At(const std::string& name);
    std::unique_ptr<WorkerProcess> Start(const std::vector<std::string>& side,
                                         const std::vector<std::string>& environment = {}) const;
    /// Gives every side its turn, `turns` times over.
    void InTurn(int turns, const std::vector<std::string>& names,
                const std::function<void(const std::string&, WorkerProcess&)>& step);
    void RunProcesses(const std::string& name, const std::vector<std::string>& side, int count,
                      const std::vector<std::string>& environment = {});
    int Turns(int usual) const { return plan_.quick ? 2 : usual; }
    std::vector<std::string> KeptKey() const;

    Plan plan_;
    Servers servers_;
    std::vector<Named> sides_;
    Results results_;
};

}  // namespace qxdb_bench
