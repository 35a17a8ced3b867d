#include <benchmark/benchmark.h>

#include "errors/caught_exception.h"

// What a protected operation pays for its protection, and what a fault costs.

namespace {

using namespace CQXBASE;

constexpr ErrorSite kSite{L"bench", L"bench", 1};

int* volatile gNull = nullptr;

void Outermost(benchmark::State& state) {
    for (auto each : state) {
        static_cast<void>(each);
        const ProtectedRegion region;
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Outermost);
BENCHMARK(Outermost)->Threads(4);

void Nested(benchmark::State& state) {
    const ProtectedRegion outer;
    for (auto each : state) {
        static_cast<void>(each);
        const ProtectedRegion region;
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Nested);

void Fault(benchmark::State& state) {
    for (auto each : state) {
        static_cast<void>(each);
        const int result = RunProtected(
            kSite, [] { return *gNull; }, [](const CaughtException&) { return -1; });
        if (result != -1) {
            state.SkipWithError("no fault");
        }
    }
}
BENCHMARK(Fault);

}  // namespace
