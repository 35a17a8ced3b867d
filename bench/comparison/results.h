// Measured values, by experiment and side.
#pragma once

#include <string>
#include <vector>

namespace qxdb_bench {

class Results {
  public:
    /// `x` is what varies within an experiment, as a number of rows or of processes; 0 for nothing.
    void Add(const std::string& experiment, const std::string& side, double x, double value);
    double Median(const std::string& experiment, const std::string& side, double x) const;

    /// One line: experiment, side, x, number of values, median, least and greatest.
    std::string Csv() const;
    /// The values of one experiment as a table for a terminal, with the ratio of each median to the
    /// first side's at the same x. `unit` is what they are multiplied to and called.
    void Print(const std::string& experiment, const std::string& title, double factor,
               const std::string& unit) const;

  private:
    struct Series {
        std::string experiment;
        std::string side;
        double x;
        std::vector<double> values;
    };
    using Place = std::vector<Series>::const_iterator;
    Place Find(const std::string& experiment, const std::string& side, double x) const;

    std::vector<Series> series_;  ///< in the order of their first values
};

}  // namespace qxdb_bench
