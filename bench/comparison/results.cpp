#include "results.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <stdexcept>

namespace qxdb_bench {
namespace {

double MedianOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

}  // namespace

void Results::Add(const std::string& experiment, const std::string& side, double x, double value) {
    const auto found = Find(experiment, side, x);
    if (found != series_.end()) {
        series_[static_cast<std::size_t>(found - series_.begin())].values.push_back(value);
    } else {
        series_.push_back({experiment, side, x, {value}});
    }
}

Results::Place Results::Find(const std::string& experiment, const std::string& side,
                             double x) const {
    return std::find_if(series_.begin(), series_.end(), [&](const Series& series) {
        return series.experiment == experiment && series.side == side && series.x == x;
    });
}

double Results::Median(const std::string& experiment, const std::string& side, double x) const {
    const auto series = Find(experiment, side, x);
    if (series == series_.end()) {
        throw std::runtime_error("nothing measured for " + side + " in " + experiment);
    }
    return MedianOf(series->values);
}

std::string Results::Csv() const {
    std::string text = "experiment,side,x,runs,median,min,max\n";
    for (const Series& series : series_) {
        const auto [least, most] = std::minmax_element(series.values.begin(), series.values.end());
        char numbers[160];
        std::snprintf(numbers, sizeof numbers, ",%.0f,%zu,%.9g,%.9g,%.9g\n", series.x,
                      series.values.size(), MedianOf(series.values), *least, *most);
        text += series.experiment + "," + series.side + numbers;
    }
    return text;
}

void Results::Print(const std::string& experiment, const std::string& title, double factor,
                    const std::string& unit) const {
    std::printf("\n%s\n", title.c_str());
    std::map<double, double> firsts;
    for (const Series& series : series_) {
        if (series.experiment != experiment) {
            continue;
        }
        const double median = MedianOf(series.values);
        const double first = firsts.try_emplace(series.x, median).first->second;
        const auto [least, most] = std::minmax_element(series.values.begin(), series.values.end());
        const std::string at = series.x == 0 ? "" : std::to_string(static_cast<long>(series.x));
        std::printf("  %-34s %9s %10.3f %s  (%.3f to %.3f)  x %.2f\n", series.side.c_str(),
                    at.c_str(), median * factor, unit.c_str(), *least * factor, *most * factor,
                    median / first);
    }
    std::fflush(stdout);
}

}  // namespace qxdb_bench
