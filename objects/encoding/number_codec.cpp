#include "objects/encoding/number_codec.h"

#include <algorithm>

#include "objects/encoding/byte_planes.h"

namespace CQXDB::encoding {
namespace {

/// The range of a sequence of numbers, as its least one and the distance to the greatest.
class Range {
  public:
    explicit Range(std::int64_t first) noexcept : least_(first), most_(first) {}
    void Add(std::int64_t value) noexcept {
        least_ = std::min(least_, value);
        most_ = std::max(most_, value);
    }
    std::int64_t Least() const noexcept { return least_; }
    std::size_t Planes() const noexcept {
        std::size_t planes = 0;
        for (auto width = static_cast<std::uint64_t>(most_) - static_cast<std::uint64_t>(least_);
             width != 0; width >>= 8) {
            ++planes;
        }
        return planes;
    }

  private:
    std::int64_t least_;
    std::int64_t most_;
};

/// Steps wrap around, so that any two neighbours have one.
std::int64_t Step(std::int64_t from, std::int64_t to) noexcept {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(to) -
                                     static_cast<std::uint64_t>(from));
}

/// Offsets from `base`, or with `deltas` the steps' offsets from `base` behind the value `first`.
struct Plan {
    std::size_t planes;
    std::int64_t base;
    bool deltas;
    std::int64_t first;
};

template <class T>
Plan PlanFor(const T* values, std::size_t count) {
    const auto first = static_cast<std::int64_t>(values[0]);
    Range range(first);
    for (std::size_t i = 1; i < count; ++i) {
        range.Add(static_cast<std::int64_t>(values[i]));
    }
    const Plan plain{range.Planes(), range.Least(), false, first};
    if (plain.planes == 0) {
        return plain;
    }
    Range steps(Step(first, static_cast<std::int64_t>(values[1])));
    for (std::size_t i = 2; i < count; ++i) {
        steps.Add(
            Step(static_cast<std::int64_t>(values[i - 1]), static_cast<std::int64_t>(values[i])));
    }
    return steps.Planes() < plain.planes ? Plan{steps.Planes(), steps.Least(), true, first} : plain;
}

}  // namespace

template <class T>
void PutNumbers(PlainBytes& out, const T* values, std::size_t count) {
    const Plan plan = PlanFor(values, count);
    const auto base = static_cast<std::uint64_t>(plan.base);
    Put(out, static_cast<std::uint8_t>(plan.planes | (plan.deltas ? kDeltas : 0U)));
    PutVarint(out, ZigZag(plan.base));
    if (!plan.deltas) {
        PutPlanes(out, count, plan.planes, [=](std::size_t i) {
            return static_cast<std::uint64_t>(static_cast<std::int64_t>(values[i])) - base;
        });
        return;
    }
    PutVarint(out, ZigZag(plan.first));
    PutPlanes(out, count - 1, plan.planes, [=](std::size_t i) {
        return static_cast<std::uint64_t>(static_cast<std::int64_t>(values[i + 1])) -
               static_cast<std::uint64_t>(static_cast<std::int64_t>(values[i])) - base;
    });
}

template <class T>
std::size_t NumbersSize(const T* values, std::size_t count) {
    const Plan plan = PlanFor(values, count);
    const std::size_t bases =
        VarintSize(ZigZag(plan.base)) + (plan.deltas ? VarintSize(ZigZag(plan.first)) : 0);
    return 1 + bases + (plan.deltas ? count - 1 : count) * plan.planes;
}

template <class T>
bool GetNumbers(PlainReader& in, T* values, std::size_t count) {
    std::uint8_t coding = 0;
    std::int64_t signedBase = 0;
    std::int64_t first = 0;
    if (!in.Get(coding) || (coding & ~(kPlaneCount | kDeltas)) != 0 || !in.GetSigned(signedBase)) {
        return false;
    }
    const auto base = static_cast<std::uint64_t>(signedBase);
    const std::size_t planes = coding & kPlaneCount;
    if ((coding & kDeltas) == 0) {
        return GetPlanes(in, count, planes, [=](std::size_t i, std::uint64_t offset) {
            values[i] = static_cast<T>(base + offset);
        });
    }
    if (!in.GetSigned(first)) {
        return false;
    }
    auto value = static_cast<std::uint64_t>(first);
    values[0] = static_cast<T>(value);
    return GetPlanes(in, count - 1, planes, [=, &value](std::size_t i, std::uint64_t offset) {
        value += base + offset;
        values[i + 1] = static_cast<T>(value);
    });
}

template void PutNumbers(PlainBytes&, const std::uint8_t*, std::size_t);
template void PutNumbers(PlainBytes&, const std::int32_t*, std::size_t);
template void PutNumbers(PlainBytes&, const std::uint32_t*, std::size_t);
template void PutNumbers(PlainBytes&, const std::int64_t*, std::size_t);
template std::size_t NumbersSize(const std::uint8_t*, std::size_t);
template std::size_t NumbersSize(const std::int32_t*, std::size_t);
template std::size_t NumbersSize(const std::uint32_t*, std::size_t);
template std::size_t NumbersSize(const std::int64_t*, std::size_t);
template bool GetNumbers(PlainReader&, std::uint8_t*, std::size_t);
template bool GetNumbers(PlainReader&, std::int32_t*, std::size_t);
template bool GetNumbers(PlainReader&, std::uint32_t*, std::size_t);
template bool GetNumbers(PlainReader&, std::int64_t*, std::size_t);

}  // namespace CQXDB::encoding
