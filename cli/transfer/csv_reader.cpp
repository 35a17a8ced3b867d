#include "cli/transfer/csv_reader.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

#include "cli/exit_status.h"
#include "cli/output/display_text.h"
#include "util/text.h"

namespace CQXCLI::transfer {

namespace {

constexpr std::size_t kChunkBytes = 64 * 1024;
constexpr std::size_t kLongestField = std::size_t{256} * 1024 * 1024;

int IsNoBlank(unsigned char /*c*/) {
    return 0;
}

/// Line ends in a text, CRLF counted once.
std::size_t CountLineEnds(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool pair = text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
        count += (text[i] == '\n' || text[i] == '\r') && !pair ? 1U : 0U;
    }
    return count;
}

[[noreturn]] void Refuse(std::size_t line, const std::string& what) {
    throw CliError(kFailed, "line " + std::to_string(line) + ": " + what);
}

}  // namespace

CsvReader::CsvReader(std::istream& in) : in_(in), buffer_(kChunkBytes) {
    constexpr auto kOptions = static_cast<unsigned char>(CSV_STRICT | CSV_STRICT_FINI |
                                                         CSV_REPALL_NL | CSV_EMPTY_IS_NULL);
    if (csv_init(&parser_, kOptions) != 0) {
        throw std::bad_alloc();
    }
    csv_set_space_func(&parser_, IsNoBlank);
}

CsvReader::~CsvReader() {
    csv_free(&parser_);
}

bool CsvReader::Next(CsvRow& row) {
    while (rows_.empty() && !ended_) {
        ReadChunk();
    }
    if (rows_.empty()) {
        return false;
    }
    row = std::move(rows_.front());
    rows_.pop_front();
    Check(row);
    return true;
}

void CsvReader::ReadChunk() {
    in_.read(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    std::string_view chunk(buffer_.data(), static_cast<std::size_t>(in_.gcount()));
    if (bytesRead_ == 0) {
        chunk = CQXBASE::WithoutByteOrderMark(chunk);
    }
    bytesRead_ += static_cast<std::uint64_t>(in_.gcount());
    ended_ = !in_;
    if (in_.bad()) {
        Refuse(line_, "the file can't be read further");
    }
    if (csv_parse(&parser_, chunk.data(), chunk.size(), OnField, OnRowEnd, this) < chunk.size()) {
        Refuse(line_, csv_error(&parser_) == CSV_EPARSE
                          ? "a quote stands inside a field that does not begin with one, or text "
                            "follows a closing quote"
                          : csv_strerror(csv_error(&parser_)));
    }
    if (ended_ && csv_fini(&parser_, OnField, OnRowEnd, this) != 0) {
        Refuse(pending_.line, "a field of this row has an opening quote and no closing one");
    }
    if (parser_.entry_pos > kLongestField) {
        Refuse(pending_.line, "a field has more than 256 MiB; is its closing quote missing?");
    }
}

void CsvReader::OnField(void* text, std::size_t size, void* self) {
    auto& reader = *static_cast<CsvReader*>(self);
    const std::string_view field(text == nullptr ? "" : static_cast<const char*>(text), size);
    reader.pending_.fields.push_back({std::string(field), text == nullptr});
    reader.line_ += CountLineEnds(field);
    reader.lastTerminator_ = 0;
}

void CsvReader::OnRowEnd(int terminator, void* self) {
    static_cast<CsvReader*>(self)->EndRow(terminator);
}

void CsvReader::EndRow(int terminator) {
    const bool restOfCrLf =
        terminator == '\n' && lastTerminator_ == '\r' && pending_.fields.empty();
    lastTerminator_ = restOfCrLf ? 0 : terminator;
    if (restOfCrLf) {
        return;
    }
    rows_.push_back(std::exchange(pending_, CsvRow()));
    pending_.line = ++line_;
}

void CsvReader::Check(const CsvRow& row) const {
    for (std::size_t i = 0; i < row.fields.size(); ++i) {
        if (!output::IsUtf8(row.fields[i].text)) {
            Refuse(row.line, "field " + std::to_string(i + 1) + " is not UTF-8 text");
        }
    }
}

}  // namespace CQXCLI::transfer
