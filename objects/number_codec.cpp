#include "objects/number_codec.h"

#include <algorithm>

namespace CQXDB {
namespace {

struct Plan {
    NumberCoding coding;
    std::int64_t base;
};

template <class T>
Plan PlanFor(const T* values, std::size_t count) {
    T least = values[0];
    T most = values[0];
    for (std::size_t i = 1; i < count; ++i) {
        least = std::min(least, values[i]);
        most = std::max(most, values[i]);
    }
    const auto base = static_cast<std::int64_t>(least);
    const std::uint64_t range =
        static_cast<std::uint64_t>(most) - static_cast<std::uint64_t>(least);
    return {range == 0             ? NumberCoding::Constant
            : range <= 0xFF        ? NumberCoding::Offset8
            : range <= 0xFFFF      ? NumberCoding::Offset16
            : range <= 0xFFFFFFFFU ? NumberCoding::Offset32
                                   : NumberCoding::Plain,
            base};
}

constexpr std::size_t WidthOf(NumberCoding coding) {
    switch (coding) {
        case NumberCoding::Constant:
            return 0;
        case NumberCoding::Offset8:
            return 1;
        case NumberCoding::Offset16:
            return 2;
        case NumberCoding::Offset32:
            return 4;
        case NumberCoding::Plain:
            break;
    }
    return 8;
}

template <class Offset, class T>
void PutOffsets(PlainBytes& out, const T* values, std::size_t count, std::int64_t base) {
    char* place = out.Extend(count * sizeof(Offset));
    for (std::size_t i = 0; i < count; ++i) {
        const auto offset = static_cast<Offset>(static_cast<std::uint64_t>(values[i]) -
                                                static_cast<std::uint64_t>(base));
        std::memcpy(place + i * sizeof(Offset), &offset, sizeof(Offset));
    }
}

template <class Offset, class T>
bool GetOffsets(PlainReader& in, T* values, std::size_t count, std::int64_t base) {
    const char* place = in.Take(count * sizeof(Offset));
    if (place == nullptr) {
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        Offset offset{};
        std::memcpy(&offset, place + i * sizeof(Offset), sizeof(Offset));
        values[i] = static_cast<T>(static_cast<std::uint64_t>(base) + offset);
    }
    return true;
}

}  // namespace

template <class T>
void PutNumbers(PlainBytes& out, const T* values, std::size_t count) {
    const Plan plan = PlanFor(values, count);
    Put(out, plan.coding);
    if (plan.coding == NumberCoding::Plain) {
        PutOffsets<std::uint64_t>(out, values, count, 0);
        return;
    }
    PutVarint(out, ZigZag(plan.base));
    if (plan.coding == NumberCoding::Offset8) {
        PutOffsets<std::uint8_t>(out, values, count, plan.base);
    } else if (plan.coding == NumberCoding::Offset16) {
        PutOffsets<std::uint16_t>(out, values, count, plan.base);
    } else if (plan.coding == NumberCoding::Offset32) {
        PutOffsets<std::uint32_t>(out, values, count, plan.base);
    }
}

template <class T>
std::size_t NumbersSize(const T* values, std::size_t count) {
    const Plan plan = PlanFor(values, count);
    const std::size_t base = plan.coding == NumberCoding::Plain ? 0 : VarintSize(ZigZag(plan.base));
    return 1 + base + count * WidthOf(plan.coding);
}

template <class T>
bool GetNumbers(PlainReader& in, T* values, std::size_t count) {
    NumberCoding coding{};
    std::uint64_t zigzag = 0;
    if (!in.Get(coding) || (coding != NumberCoding::Plain && !in.GetVarint(zigzag))) {
        return false;
    }
    const std::int64_t base = UnZigZag(zigzag);
    switch (coding) {
        case NumberCoding::Constant:
            std::fill_n(values, count, static_cast<T>(base));
            return true;
        case NumberCoding::Offset8:
            return GetOffsets<std::uint8_t>(in, values, count, base);
        case NumberCoding::Offset16:
            return GetOffsets<std::uint16_t>(in, values, count, base);
        case NumberCoding::Offset32:
            return GetOffsets<std::uint32_t>(in, values, count, base);
        case NumberCoding::Plain:
            return GetOffsets<std::uint64_t>(in, values, count, 0);
    }
    return false;
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

}  // namespace CQXDB
