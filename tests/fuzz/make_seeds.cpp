// make_seeds FOLDER makes FOLDER/<target>/<seed> for the targets that read commands and results,
// whose encoding has versions. The other targets' inputs stay what they are.
#include <cstdio>
#include <filesystem>
#include <string>

#include <ace/CDR_Stream.h>

#include "messages/reply_details.h"
#include "messages/session_records.h"
#include "messages/type_codes.h"
#include "tests/fuzz/request_seed.h"
#include "tests/objects/samples.h"
#include "tests/support/Frame.h"
#include "tests/support/TempDir.h"

namespace {

constexpr auto Encode = qxdb_test::EncodeRecord;

std::filesystem::path folder;

void Seed(const std::string& target, const std::string& name, const std::string& bytes) {
    std::filesystem::create_directories(folder / target);
    qxdb_test::WriteFile(folder / target / name, bytes);
}

const char kLittleEndian = 1;

void SeedClass(const std::string& target, const std::string& name, CQXBASE::QXIOBase& object) {
    Seed(target, name, kLittleEndian + Encode(object));
}

/// The rows three times over.
std::string InThreeParts(CQXDB::QXRecordset& rs) {
    ACE_OutputCDR out(3 * rs.size(), ACE_CDR::BYTE_ORDER_NATIVE);
    for (int part = 0; part < 3; ++part) {
        rs.PartToCDR(out, part == 0, part == 2);
    }
    return {out.buffer(), out.length()};
}

void SeedObjects() {
    CQXDB::QXRecordset types = qxdb_test::EveryType();
    SeedClass("recordset", "every_type", types);
    CQXDB::QXRecordset orders = qxdb_test::Orders(1000);
    SeedClass("recordset", "1000_orders", orders);
    CQXDB::QXRecordset none;
    SeedClass("recordset", "empty", none);
    Seed("recordset", "three_parts", kLittleEndian + InThreeParts(types));
    CQXDB::QXRsList results = qxdb_test::FilledRsList(3);
    SeedClass("rs_list", "filled", results);
    CQXDB::QXCommand command = qxdb_test::FilledCommand();
    SeedClass("command", "filled", command);
    for (const int rounds : {0, 1, 50}) {
        CQXDB::QXCommandList list = qxdb_test::MixedList(rounds);
        SeedClass("command_list", std::to_string(rounds) + "_rounds", list);
    }
    CQXDB::QXDataSource source = qxdb_test::FilledDataSource();
    SeedClass("data_source", "filled", source);
}

void SeedHolder() {
    const std::string raw(1, 1);
    const std::string frame = std::string(1, 3) + '\1' + std::string(15, '\0');
    CQXBASE::QXSimpleMsg status(L"ab", 7);
    CQXDB::QXRecordset recordset = qxdb_test::Orders(3);
    CQXDB::QXRsList list = qxdb_test::FilledRsList(1);
    CQXDB::QXCommand command = qxdb_test::FilledCommand();
    Seed("message_holder", "status", "\1\1" + raw + Encode(status));
    CQXBASE::ReplyDetails details;
    details.counts.Add({1, 7});
    details.counts.Add({-1, 0});
    details.notices.push_back({L"NOTICE", 3, L"text"});
    CQXBASE::DetailedRecord detailed(status, details);
    Seed("message_holder", "status_with_details", "\1\1" + raw + Encode(detailed));
    Seed("message_holder", "error_in_a_frame", std::string("\3\0", 2) + frame + Encode(status));
    Seed("message_holder", "recordset", "\3\3" + raw + Encode(recordset));
    Seed("message_holder", "results_in_a_frame", "\7\7" + frame + Encode(list));
    Seed("message_holder", "request", std::string("\0\1\0", 3) + Encode(command));
}

/// A connection's bytes, in pieces of 100: a plain frame of this body.
std::string Stream(std::uint32_t code, const std::string& body) {
    return static_cast<char>(0x80 + 99) + qxdb_test::MakeFrame(code, body, false);
}

void SeedRequests() {
    const std::wstring token(qxdb_test::kSeedToken.begin(), qxdb_test::kSeedToken.end());
    CQXDB::QXCommand query(L"SELECT ?, 'text', 2.5, NULL, x'00ff'");
    query.AddParam(CQXDB::QXValue::Int64(7));
    query.SetToken(token);
    CQXDB::QXCommand insert(L"CREATE TABLE IF NOT EXISTS t(n); INSERT INTO t VALUES (1)");
    insert.SetToken(token);
    CQXDB::QXCommandList list;
    list.Add(CQXDB::QXCommand(L"SELECT 1 AS one"));
    list.Add(CQXDB::QXCommand(L"SELECT 'a' UNION SELECT 'b'"));
    list.SetToken(token);
    CQXBASE::QXOneString login(L"ann|~|secret|~|main");
    CQXBASE::QXOneString text(L"hello");
    CQXBASE::QXSimpleMsg greeting(L"", 0);
    const auto seed = [](const char* name, bool enciphered, std::uint32_t code,
                         CQXBASE::QXIOBase& object) {
        const std::string head{static_cast<char>(enciphered), static_cast<char>(code)};
        Seed("requests", name, head + Encode(object));
    };
    seed("query", true, CQXBASE::kQuery, query);
    seed("query_list", false, CQXBASE::kQueryList, list);
    seed("execute", false, CQXBASE::kExecute, insert);
    seed("execute_list", true, CQXBASE::kExecuteList, list);
    seed("batch", true, CQXBASE::kBatchQuery, list);
    seed("login", false, CQXBASE::kLogin, login);
    seed("virtual_login", false, CQXBASE::kVirtualLogin, login);
    seed("virtual_logout", false, CQXBASE::kVirtualLogout, login);
    seed("text", true, CQXBASE::kSendText, text);
    const std::string handshake = Stream(CQXBASE::kHandshake, Encode(greeting));
    Seed("requests", "two_frames", handshake + handshake.substr(1));
    Seed("requests", "stream_of_a_query", Stream(CQXBASE::kQuery, Encode(query)));
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::fprintf(stderr, "usage: make_seeds FOLDER\n");
        return 2;
    }
    folder = arguments[1];
    SeedObjects();
    SeedHolder();
    SeedRequests();
    return 0;
}
