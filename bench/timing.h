// Repeated timing of one piece of work.
#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

namespace qxdb_bench {

/// Seconds, sorted.
class Samples {
  public:
    template <typename Work>
    static Samples Of(int runs, const Work& work) {
        Samples samples;
        for (int run = 0; run < runs; ++run) {
            const auto start = std::chrono::steady_clock::now();
            work();
            const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
            samples.seconds_.push_back(took.count());
        }
        std::sort(samples.seconds_.begin(), samples.seconds_.end());
        return samples;
    }

    double Median() const { return Percentile(50); }
    double Percentile(double percent) const {
        const double last = static_cast<double>(seconds_.size() - 1);
        return seconds_[static_cast<std::size_t>(last * percent / 100 + 0.5)];
    }
    double Least() const { return seconds_.front(); }
    double Most() const { return seconds_.back(); }

  private:
    std::vector<double> seconds_;
};

}  // namespace qxdb_bench
