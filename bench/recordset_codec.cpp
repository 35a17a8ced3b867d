// Encoding and decoding of a table of 1,000,000 rows and 10 columns, beside memcpy of the same
// bytes.
#include <benchmark/benchmark.h>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <ace/CDR_Stream.h>

#include <qxdb/QXDateTime.h>
#include <qxdb/QXRecordset.h>

namespace {

using CQXDB::QXDateTime;
using CQXDB::QXRecordset;
using CQXDB::QXValueType;

constexpr std::size_t kRows = 1000000;
constexpr std::size_t kPageRows = 50;

std::string RandomWord(std::mt19937_64& random) {
    std::string word(4 + random() % 12, ' ');
    for (char& c : word) {
        c = static_cast<char>('a' + random() % 26);
    }
    return word;
}

/// An order table as an application would read it.
QXRecordset Orders(std::size_t rows) {
    static const char* const kStates[] = {"open", "paid", "shipped", "returned"};
    const char* const names[] = {"id",  "customer", "quantity", "price",   "ordered",
                                 "due", "paid",     "state",    "article", "note"};
    QXRecordset rs;
    for (const char* name : names) {
        rs.AddColumn(name);
    }
    std::mt19937_64 random(20240229);
    std::int64_t ordered = QXDateTime::Timestamp(2024, 2, 29, 8, 0, 0);
    for (std::size_t row = 0; row < rows; ++row) {
        ordered += static_cast<std::int64_t>(random() % 5000000);
        rs.MutableColumn(0).AppendInt64(static_cast<std::int64_t>(1000000 + row));
        rs.MutableColumn(1).AppendInt64(static_cast<std::int64_t>(random() % 50000));
        rs.MutableColumn(2).AppendInt64(static_cast<std::int64_t>(1 + random() % 20));
        rs.MutableColumn(3).AppendDouble(static_cast<double>(random() % 100000) / 100);
        rs.MutableColumn(4).AppendInt64(ordered, QXValueType::Timestamp);
        rs.MutableColumn(5).AppendInt64(ordered / QXDateTime::kMicrosPerDay + 14,
                                        QXValueType::Date);
        rs.MutableColumn(6).AppendInt64(random() % 4 != 0 ? 1 : 0, QXValueType::Bool);
        rs.MutableColumn(7).AppendBytes(kStates[random() % 4], QXValueType::Text);
        rs.MutableColumn(8).AppendBytes(RandomWord(random), QXValueType::Text);
        if (random() % 5 == 0) {
            rs.MutableColumn(9).AppendBytes("deliver to " + RandomWord(random), QXValueType::Text);
        } else {
            rs.MutableColumn(9).AppendNull();
        }
    }
    rs.FillDone();
    return rs;
}

QXRecordset& Table() {
    static QXRecordset table = Orders(kRows);
    return table;
}

void Report(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * Table().MemoryBytes()));
}

void Encode(benchmark::State& state) {
    QXRecordset& table = Table();
    std::size_t length = 0;
    for (auto _ : state) {
        ACE_OutputCDR out(table.size());
        benchmark::DoNotOptimize(table.toCDR(out));
        length = out.total_length();
    }
    Report(state);
    state.counters["wire_bytes"] = static_cast<double>(length);
    state.counters["memory_bytes"] = static_cast<double>(table.MemoryBytes());
}

void Decode(benchmark::State& state) {
    ACE_OutputCDR out(Table().size());
    Table().toCDR(out);
    for (auto _ : state) {
        ACE_InputCDR in(out.begin());
        QXRecordset copy;
        benchmark::DoNotOptimize(copy.fromCDR(in));
    }
    Report(state);
}

/// What a request for one page costs, there and back.
void Page(benchmark::State& state) {
    QXRecordset page = Orders(kPageRows);
    std::size_t length = 0;
    for (auto _ : state) {
        ACE_OutputCDR out(page.size());
        page.toCDR(out);
        length = out.total_length();
        ACE_InputCDR in(out.begin());
        QXRecordset copy;
        benchmark::DoNotOptimize(copy.fromCDR(in));
    }
    state.counters["wire_bytes"] = static_cast<double>(length);
    state.counters["memory_bytes"] = static_cast<double>(page.MemoryBytes());
}

void Size(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(Table().size());
    }
    Report(state);
}

/// The yardstick: the recordset's bytes once from one place to another, into fresh memory as a
/// decoder has it, and into memory that is already there.
void Memcpy(benchmark::State& state, bool fresh) {
    const std::size_t size = Table().MemoryBytes();
    const std::vector<char> from(size, 'x');
    auto to = std::make_unique<char[]>(size);
    for (auto _ : state) {
        if (fresh) {
            to.reset(new char[size]);
        }
        std::memcpy(to.get(), from.data(), size);
        benchmark::ClobberMemory();
    }
    Report(state);
}

void Fill(benchmark::State& state) {
    for (auto _ : state) {
        QXRecordset rs;
        CQXDB::QXColumn& column = rs.AddColumn("n");
        for (std::size_t row = 0; row < kRows; ++row) {
            column.AppendInt64(static_cast<std::int64_t>(row));
        }
        rs.FillDone();
        benchmark::DoNotOptimize(rs.RowCount());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kRows));
}

void Read(benchmark::State& state) {
    const QXRecordset& table = Table();
    for (auto _ : state) {
        std::int64_t sum = 0;
        for (std::size_t row = 0; row < kRows; ++row) {
            sum += table.GetInt64(row, 1);
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kRows));
}

BENCHMARK(Encode)->Unit(benchmark::kMillisecond);
BENCHMARK(Decode)->Unit(benchmark::kMillisecond);
BENCHMARK(Page)->Unit(benchmark::kMicrosecond);
BENCHMARK(Size)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Memcpy, fresh, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Memcpy, warm, false)->Unit(benchmark::kMillisecond);
BENCHMARK(Fill)->Unit(benchmark::kMillisecond);
BENCHMARK(Read)->Unit(benchmark::kMillisecond);

}  // namespace
