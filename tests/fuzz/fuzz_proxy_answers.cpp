#include <sys/socket.h>
#include <unistd.h>

#include "proxy/proxy_handshake.h"
#include "tests/fuzz/fuzz_input.h"

namespace {

/// A socket whose other end has given all its answers and hung up: each receive takes one answer.
class AnsweredSocket {
  public:
    explicit AnsweredSocket(qxdb_test::FuzzInput& answers) {
        qxdb_test::Require(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends_) == 0, "sockets to be had");
        for (int count = 0; count < 3 && !answers.Empty(); ++count) {
            const std::string answer = answers.Bytes(std::size_t{answers.Byte()} * 4);
            send(ends_[1], answer.data(), answer.size(), MSG_NOSIGNAL);
        }
        shutdown(ends_[1], SHUT_WR);
    }
    ~AnsweredSocket() {
        close(ends_[0]);
        close(ends_[1]);
    }
    AnsweredSocket(const AnsweredSocket&) = delete;
    AnsweredSocket& operator=(const AnsweredSocket&) = delete;
    ACE_HANDLE Handle() const { return ends_[0]; }

  private:
    int ends_[2] = {-1, -1};
};

}  // namespace

// The proxy's kind, whether there are credentials, then up to three answers, each behind a quarter
// of its length.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qxdb_test::FuzzInput input(data, size);
    const std::uint8_t choice = input.Byte();
    const std::uint32_t kind = choice % 4;
    const std::string user = (choice & 4) != 0 ? "user" : "";
    const AnsweredSocket socket(input);
    std::wstring errText = L"untouched";
    const int result = CQXBASE::ProxyHandshake({kind, "", 0, user, "password"}, socket.Handle(),
                                               "10.1.2.3", 8080, errText);
    qxdb_test::Require(result == CQXBASE::kProxyDone || result == CQXBASE::kProxyFailed,
                       "a result");
    qxdb_test::Require(errText.size() <= 512, "no text beyond the buffer");
    qxdb_test::Require(kind == CQXBASE::kProxyHttp || errText == L"untouched",
                       "only an HTTP proxy's answer is a text");
    qxdb_test::Require(kind != CQXBASE::kProxyHttp || result != 0 || errText.empty(),
                       "a tunnel leaves no text");
    return 0;
}
