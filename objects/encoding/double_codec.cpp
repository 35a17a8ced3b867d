#include "objects/encoding/double_codec.h"

#include "objects/encoding/number_codec.h"
#include "util/double_bits.h"

namespace CQXDB::encoding {
namespace {

constexpr std::uint8_t kBits = 0xFF;  ///< in place of a power of ten: bit patterns
constexpr double kPowers[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8};
constexpr std::size_t kPowerCount = sizeof kPowers / sizeof kPowers[0];

/// Adding and taking away 1.5 times 2 to the 52nd rounds to a whole number, without a branch, for
/// numbers of up to 51 bits.
constexpr double kRounder = 6755399441055744.0;
constexpr double kLargest = 2251799813685248.0;  // 2 to the 51st

/// The whole number whose division by `power` gives exactly `value`, if `exact` is set.
double Scaled(double value, double power, bool& exact) noexcept {
    const double whole = (value * power + kRounder) - kRounder;
    exact = whole > -kLargest && whole < kLargest &&
            CQXBASE::DoubleToBits(whole / power) == CQXBASE::DoubleToBits(value);
    return whole;
}

/// The lowest power of ten that each value needs, taken over all values.
std::size_t PowerFor(const std::int64_t* bits, std::size_t count) noexcept {
    std::size_t power = 0;
    for (std::size_t i = 0; i < count && power < kPowerCount; ++i) {
        bool exact = false;
        Scaled(CQXBASE::BitsToDouble(bits[i]), kPowers[power], exact);
        while (!exact && ++power < kPowerCount) {
            Scaled(CQXBASE::BitsToDouble(bits[i]), kPowers[power], exact);
        }
    }
    return power;
}

/// The whole numbers over the power of ten `power`; none when there is a value that isn't exact.
QXBuffer<std::int64_t> WholeNumbers(const std::int64_t* bits, std::size_t count,
                                    std::size_t power) {
    QXBuffer<std::int64_t> numbers;
    bool allExact = power < kPowerCount;
    numbers.Resize(allExact ? count : 0);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        bool exact = false;
        const double whole = Scaled(CQXBASE::BitsToDouble(bits[i]), kPowers[power], exact);
        numbers[i] = exact ? static_cast<std::int64_t>(whole) : 0;
        allExact = allExact && exact;
    }
    numbers.Resize(allExact ? count : 0);
    return numbers;
}

}  // namespace

void PutDoubles(PlainBytes& out, const std::int64_t* bits, std::size_t count) {
    const std::size_t power = PowerFor(bits, count);
    const QXBuffer<std::int64_t> numbers = WholeNumbers(bits, count, power);
    Put(out, numbers.empty() ? kBits : static_cast<std::uint8_t>(power));
    PutNumbers(out, numbers.empty() ? bits : numbers.data(), count);
}

std::size_t DoublesSize(const std::int64_t* bits, std::size_t count) {
    const QXBuffer<std::int64_t> numbers = WholeNumbers(bits, count, PowerFor(bits, count));
    return 1 + NumbersSize(numbers.empty() ? bits : numbers.data(), count);
}

bool GetDoubles(PlainReader& in, std::int64_t* bits, std::size_t count) {
    std::uint8_t power = 0;
    if (!in.Get(power) || (power >= kPowerCount && power != kBits) ||
        !GetNumbers(in, bits, count)) {
        return false;
    }
    if (power != kBits) {
        for (std::size_t i = 0; i < count; ++i) {
            bits[i] = CQXBASE::DoubleToBits(static_cast<double>(bits[i]) / kPowers[power]);
        }
    }
    return true;
}

}  // namespace CQXDB::encoding
