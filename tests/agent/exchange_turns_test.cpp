// The turns of a process's agents, side by side when it allows that, and what becomes of a call
// that can't have one.
#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <new>
#include <pthread.h>
#include <string>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include <qxdb/DBAgent.h>
#include <qxdb/DBMgrErrors.h>

#include "messages/session_records.h"
#include "messages/type_codes.h"
#include "tests/agent/scripted_server.h"
#include "tests/support/Frame.h"
#include "tests/support/TestTls.h"

namespace {

thread_local int untilRefused = 0;  ///< of this thread's next locks, which one fails; 0: none

}  // namespace

/// Stands before the system's own.
extern "C" __attribute__((visibility("default"))) int pthread_mutex_lock(
    pthread_mutex_t* mutex) noexcept {
    static const auto real =
        reinterpret_cast<decltype(&pthread_mutex_lock)>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    return untilRefused > 0 && --untilRefused == 0 ? EAGAIN : real(mutex);
}

namespace {

using CQXBASE::QXSimpleMsg;
using qxdb_test::ScriptedServer;

/// Tells when it is encoded, which is the first that an exchange does.
class Request : public QXSimpleMsg {
  public:
    Request() : QXSimpleMsg(L"", 0) {}
    int toCDR(ACE_OutputCDR& out) const override {
        encoded = true;
        if (whileEncoding) {
            whileEncoding();
        }
        return QXSimpleMsg::toCDR(out);
    }
    std::function<void()> whileEncoding;
    mutable std::atomic<bool> encoded{false};
};

struct Client {
    Client() {
        agent.init(L"127.0.0.1:" + std::to_wstring(server.Port()), {}, L"", false);
        qxdb_test::UseTestTls(agent);
    }
    void Exchange() {
        result = agent.RemoteExec(code, text, request, CQXBASE::kHandshake, nullptr);
    }
    /// The server takes the next request and keeps its reply until Release.
    void Withhold(std::uint32_t status) {
        CQXBASE::QXSimpleMsg reply(L"", status);
        server.Do([this, frame = qxdb_test::MakeFrame(CQXBASE::kHandshake,
                                                      qxdb_test::EncodeRecord(reply))](
                      ACE_SOCK_Stream& peer) {
            released.get_future().wait();
            peer.send_n(frame.data(), frame.size());
            return true;
        });
    }
    void Release() { released.set_value(); }

    ScriptedServer server;
    std::promise<void> released;
    CQXDB::DBAgent agent;
    Request request;
    int result = -2;
    long code = 0;
    std::wstring text;
};

/// True when a thread of this process waits for something.
bool Waits(long thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string line;
    std::getline(file, line);
    return line.find(") S ") != std::string::npos;
}

/// Begins `work` on a thread of its own; returns once it waits for something, or is over.
template <typename Work>
std::thread UntilItWaits(Work work) {
    const auto thread = std::make_shared<std::atomic<long>>(0);
    const auto over = std::make_shared<std::atomic<bool>>(false);
    std::thread worker([thread, over, work] {
        *thread = syscall(SYS_gettid);
        work();
        *over = true;
    });
    while (*thread == 0 || !(*over || Waits(*thread))) {
        std::this_thread::yield();
    }
    return worker;
}

/// Begins the client's exchange on a thread of its own; returns once it has its turn.
std::thread UntilItHasItsTurn(Client& client) {
    std::thread worker([&client] { client.Exchange(); });
    while (!client.request.encoded) {
        std::this_thread::yield();
    }
    return worker;
}

class ExchangeTurns : public testing::Test {
  protected:
    ~ExchangeTurns() override { CQXDB::DBAgent::AllowConcurrentExchanges(false); }
};

TEST_F(ExchangeTurns, ASecondAgentsRequestWaitsForTheFirstOnesReply) {
    Client first;
    Client second;
    first.Withhold(7);
    second.server.Hangup();
    second.server.Reply(CQXBASE::kHandshake, QXSimpleMsg(L"", 0));
    std::thread one = UntilItHasItsTurn(first);
    std::thread two = UntilItWaits([&] { second.Exchange(); });
    EXPECT_FALSE(second.request.encoded) << "between the first one's request and its reply";
    first.Release();
    one.join();
    two.join();
    EXPECT_EQ(first.result, 7);
    EXPECT_EQ(second.result, -1);
    second.Exchange();
    EXPECT_EQ(second.result, 0) << "held by a call that failed";
}

TEST_F(ExchangeTurns, OthersDoNotWaitOnceTheProcessAllowsThatAndDoAgainWhenItNoLongerDoes) {
    Client first;
    Client second;
    Client third;
    first.Withhold(1);
    second.Withhold(2);
    third.Withhold(3);
    std::thread one = UntilItHasItsTurn(first);
    std::thread two = UntilItWaits([&] { second.Exchange(); });
    EXPECT_FALSE(second.request.encoded);
    CQXDB::DBAgent::AllowConcurrentExchanges(true);
    second.Release();
    two.join();  // which waited for the first one when it was allowed
    EXPECT_EQ(second.result, 2);

    Client other;
    other.server.Reply(CQXBASE::kHandshake, QXSimpleMsg(L"", 4));
    other.Exchange();
    EXPECT_EQ(other.result, 4);

    CQXDB::DBAgent::AllowConcurrentExchanges(false);
    std::thread three = UntilItWaits([&] { third.Exchange(); });
    EXPECT_FALSE(third.request.encoded) << "beside one that is under way";
    first.Release();
    third.Release();
    one.join();
    three.join();
    EXPECT_EQ(first.result, 1);
    EXPECT_EQ(third.result, 3);
}

TEST_F(ExchangeTurns, CopiesOfAnAgentTakeTurnsOnItsConnection) {
    CQXDB::DBAgent::AllowConcurrentExchanges(true);
    Client client;
    client.Withhold(1);
    client.server.Reply(CQXBASE::kHandshake, QXSimpleMsg(L"", 2));
    // A copy must never be destroyed beside its original; this one just stays.
    alignas(CQXDB::DBAgent) static unsigned char storage[sizeof(CQXDB::DBAgent)];
    auto* const copy = new (storage) CQXDB::DBAgent(client.agent);
    Request request;
    int result = -2;
    std::thread one = UntilItHasItsTurn(client);
    std::thread two = UntilItWaits([&] {
        long code = 0;
        std::wstring text;
        result = copy->RemoteExec(code, text, request, CQXBASE::kHandshake, nullptr);
    });
    EXPECT_FALSE(request.encoded) << "between the original's request and its reply";
    client.Release();
    one.join();
    two.join();
    EXPECT_EQ(client.result, 1);
    EXPECT_EQ(result, 2);
    EXPECT_EQ(client.server.Requests().back().connection, 1);
}

TEST_F(ExchangeTurns, AnExchangeWithinAnotherOneOfTheSameThreadHasItsTurn) {
    Client outer;
    Client inner;
    outer.server.Reply(CQXBASE::kHandshake, QXSimpleMsg(L"", 1));
    inner.server.Reply(CQXBASE::kHandshake, QXSimpleMsg(L"", 2));
    outer.request.whileEncoding = [&] { inner.Exchange(); };
    outer.Exchange();
    EXPECT_EQ(outer.result, 1);
    EXPECT_EQ(inner.result, 2);
}

TEST_F(ExchangeTurns, ACallThatWaitsForOneIsCancelledWithoutAByte) {
    Client first;
    Client second;
    first.Withhold(0);
    second.agent.SetIsLocal(false);
    std::thread one = UntilItHasItsTurn(first);
    std::thread two = UntilItWaits([&] {
        CQXDB::QXCommand command(L"SELECT 1");
        second.agent.Execute(second.code, second.text, command);
    });
    std::thread cancel = UntilItWaits([&] { EXPECT_TRUE(second.agent.Cancel()); });
    first.Release();
    one.join();
    two.join();
    cancel.join();
    EXPECT_EQ(second.code, CQXDB::DBMGR_CANCELLED);
    EXPECT_TRUE(second.server.Requests().empty());
}

TEST_F(ExchangeTurns, ALockThatFailsIsAFailureOfTheCallAndHoldsUpNobody) {
    Client client;
    for (const int lock : {1, 2}) {  // the process's, the connection's
        untilRefused = lock;
        client.Exchange();
        EXPECT_EQ(untilRefused, 0);
        EXPECT_EQ(client.result, -1);
        EXPECT_EQ(client.code, -1);
        EXPECT_EQ(client.text, L"critical_section lock exception\n");
    }
    untilRefused = 1;
    EXPECT_FALSE(client.agent.Shakehand());
    EXPECT_EQ(client.agent.errText_, client.text);
    EXPECT_TRUE(client.server.Requests().empty());
    client.server.Reply(CQXBASE::kHandshake, QXSimpleMsg(L"", 5));
    std::thread([&] { client.Exchange(); }).join();
    EXPECT_EQ(client.result, 5);
}

}  // namespace
