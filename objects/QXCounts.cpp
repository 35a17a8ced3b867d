#include <algorithm>
#include <new>

#include <qxdb/QXCounts.h>

namespace CQXDB {
namespace {

/// Ids wrap around rather than overflow.
std::int64_t Plus(std::int64_t id, std::int64_t step, std::uint64_t times) noexcept {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(id) +
                                     static_cast<std::uint64_t>(step) * times);
}

constexpr auto kMinusOne = static_cast<std::uint64_t>(-1);

}  // namespace

QXCounts& QXCounts::operator+=(const QXCounts& next) noexcept {
    const bool known = rowsAffected >= 0 && next.rowsAffected >= 0;
    rowsAffected = known ? Plus(rowsAffected, next.rowsAffected, 1) : -1;
    lastInsertId = next.lastInsertId != 0 ? next.lastInsertId : lastInsertId;
    return *this;
}

void QXCountList::Add(const QXCounts& counts) noexcept {
    if (!runs_.empty() && runs_.back().first.rowsAffected == counts.rowsAffected) {
        Run& run = runs_.back();
        run.idStep = run.commands == 1
                         ? Plus(counts.lastInsertId, run.first.lastInsertId, kMinusOne)
                         : run.idStep;
        if (Plus(run.first.lastInsertId, run.idStep, run.commands) == counts.lastInsertId) {
            ++run.commands;
            ++ends_.back();
            return;
        }
    }
    AddRun({1, counts, 0});
}

void QXCountList::AddRun(const Run& run) noexcept {
    if (lost_) {
        return;
    }
    try {
        runs_.push_back(run);
        ends_.push_back(Count() + run.commands);
    } catch (const std::bad_alloc&) {
        lost_ = true;
        runs_.clear();
        ends_.clear();
    }
}

QXCounts QXCountList::At(std::uint64_t index) const noexcept {
    const auto end = std::upper_bound(ends_.begin(), ends_.end(), index);
    if (end == ends_.end()) {
        return {-1, 0};
    }
    const Run& run = runs_[static_cast<std::size_t>(end - ends_.begin())];
    const std::uint64_t before = index - (*end - run.commands);
    return {run.first.rowsAffected, Plus(run.first.lastInsertId, run.idStep, before)};
}

}  // namespace CQXDB
