// Writes the seed corpus: make_seeds FOLDER makes FOLDER/<target>/<seed> for every target.
#include <cstdio>
#include <filesystem>
#include <string>
#include <utility>

#include <ace/CDR_Stream.h>

#include <qxdb/QXOtpAuth.h>
#include <qxdb/QXProxyInfo.h>
#include <qxdb/QXSvrInfo.h>

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

void SeedRecords() {
    CQXBASE::QXOneString login(L"u|~|p");
    CQXBASE::QXSimpleMsg status(L"ab", 7);
    CQXBASE::QXSesInfo session;
    session.token = L"t0k";
    session.info = L"3|~|5";
    CQXDB::QXOtpAuth::OtpAuth_Data otp(2, "abc", "d");
    CQXDB::QXProxyInfo proxy;
    proxy.host = L"proxy";
    CQXDB::QXSvrInfo server;
    server.host = L"server";
    const std::pair<const char*, CQXBASE::QXIOBase*> records[] = {
        {"one_string", &login}, {"simple_msg", &status}, {"ses_info", &session},
        {"otp_data", &otp},     {"proxy_info", &proxy},  {"svr_info", &server},
    };
    char choice = kLittleEndian;
    for (const auto& [name, record] : records) {
        Seed("records", name, choice + Encode(*record));
        choice = static_cast<char>(choice + 2);
    }
}

void SeedHolder() {
    const std::string raw(1, 1);
    const std::string frame = std::string(1, 3) + '\1' + std::string(15, '\0');
    CQXBASE::QXSimpleMsg status(L"ab", 7);
    CQXDB::QXRecordset recordset = qxdb_test::Orders(3);
    CQXDB::QXRsList list = qxdb_test::FilledRsList(1);
    CQXDB::QXCommand command = qxdb_test::FilledCommand();
    Seed("message_holder", "status", "\1\1" + raw + Encode(status));
    Seed("message_holder", "error_in_a_frame", std::string("\3\0", 2) + frame + Encode(status));
    Seed("message_holder", "recordset", "\3\3" + raw + Encode(recordset));
    Seed("message_holder", "results_in_a_frame", "\7\7" + frame + Encode(list));
    Seed("message_holder", "request", std::string("\0\1\0", 3) + Encode(command));
}

void SeedTransport() {
    Seed("frame", "enciphered",
         qxdb_test::MakeFrame(CQXBASE::kQuery, "a plain body that is longer than a block"));
    Seed("frame", "big_endian", std::string("\0\0\0\0\0\0\0\1\0\0\0\0\0\0\0\0", 16));
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
    const auto code = [](std::uint32_t value) { return static_cast<char>(value); };
    Seed("requests", "query", std::string{1, code(CQXBASE::kQuery)} + Encode(query));
    Seed("requests", "query_list", std::string{0, code(CQXBASE::kQueryList)} + Encode(list));
    Seed("requests", "execute", std::string{0, code(CQXBASE::kExecute)} + Encode(insert));
    Seed("requests", "execute_list", std::string{1, code(CQXBASE::kExecuteList)} + Encode(list));
    Seed("requests", "batch", std::string{1, code(CQXBASE::kBatchQuery)} + Encode(list));
    Seed("requests", "login", std::string{0, code(CQXBASE::kLogin)} + Encode(login));
    Seed("requests", "virtual_login", std::string{0, code(CQXBASE::kVirtualLogin)} + Encode(login));
    Seed("requests", "virtual_logout",
         std::string{0, code(CQXBASE::kVirtualLogout)} + Encode(login));
    Seed("requests", "text", std::string{1, code(CQXBASE::kSendText)} + Encode(text));
    const std::string handshake = Stream(CQXBASE::kHandshake, Encode(greeting));
    Seed("requests", "two_frames", handshake + handshake.substr(1));
    Seed("requests", "stream_of_a_query", Stream(CQXBASE::kQuery, Encode(query)));
}

/// An answer behind a quarter of its length, as the proxy target takes it.
std::string Answer(std::string answer) {
    answer.resize((answer.size() + 3) / 4 * 4, '\0');
    return static_cast<char>(answer.size() / 4) + answer;
}

void SeedProxy() {
    Seed("base64", "credentials", "dTpw");
    Seed("base64", "two_lines", std::string(76, 'A') + "\r\nZm9vYg==");
    const std::string established = "HTTP/1.0 200 Connection established\r\nProxy-agent: p\r\n\r\n";
    Seed("proxy_answers", "http_established", "\1" + Answer(established));
    Seed("proxy_answers", "http_refused",
         "\5" + Answer("HTTP/1.1 407 Proxy Authentication Required\r\n"));
    Seed("proxy_answers", "http_512_bytes", "\1" + Answer(std::string(512, 'x')));
    Seed("proxy_answers", "socks4", "\2" + Answer(std::string("\0\x5a\0\0", 4)));
    Seed("proxy_answers", "socks5",
         "\3" + Answer(std::string("\5\0", 2)) + Answer(std::string("\5\0", 2)));
    Seed("proxy_answers", "socks5_password",
         "\7" + Answer("\5\2") + Answer(std::string("\1\0", 2)) + Answer(std::string("\5\0", 2)));
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::fprintf(stderr, "usage: make_seeds FOLDER\n");
        return 2;
    }
    folder = arguments[1];
    SeedObjects();
    SeedRecords();
    SeedHolder();
    SeedTransport();
    SeedProxy();
    SeedRequests();
    return 0;
}
