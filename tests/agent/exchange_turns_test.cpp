// The lock that all agents of a process share, and what becomes of a call that can't have it.
#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <fstream>
#include <future>
#include <memory>
#include <pthread.h>
#include <string>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include <gtest/gtest.h>

#include <qxdb/DBAgent.h>
#include <qxdb/DBMgrErrors.h>

#include "messages/session_records.h"
#include "messages/type_codes.h"
#include "tests/agent/scripted_server.h"

namespace {

thread_local bool refuseLock = false;  ///< this thread's next one

}  // namespace

/// Stands before the system's own.
extern "C" __attribute__((visibility("default"))) int pthread_mutex_lock(
    pthread_mutex_t* mutex) noexcept {
    static const auto real =
        reinterpret_cast<decltype(&pthread_mutex_lock)>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    return std::exchange(refuseLock, false) ? EAGAIN : real(mutex);
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
        return QXSimpleMsg::toCDR(out);
    }
    mutable std::atomic<bool> encoded{false};
};

struct Client {
    Client() { agent.init(L"127.0.0.1:" + std::to_wstring(server.Port()), {}, L"", false); }
    void Exchange() {
        result = agent.RemoteExec(code, text, request, CQXBASE::kHandshake, nullptr);
    }

    ScriptedServer server;
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

TEST(ExchangeLock, ASecondAgentsRequestWaitsForTheFirstOnesReply) {
    Client first;
    Client second;
    std::promise<void> answer;
    first.server.Do([&](ACE_SOCK_Stream& /*peer*/) {
        answer.get_future().wait();
        return false;
    });
    second.server.Reply(CQXBASE::kHandshake, QXSimpleMsg(L"", 0));
    std::thread one = UntilItWaits([&] { first.Exchange(); });
    std::thread two = UntilItWaits([&] { second.Exchange(); });
    EXPECT_FALSE(second.request.encoded) << "between the first one's request and its reply";
    answer.set_value();
    one.join();
    two.join();
    EXPECT_EQ(first.result, -1);
    EXPECT_EQ(second.result, 0) << "held by a call that failed";
}

TEST(ExchangeLock, ACallThatWaitsForItIsCancelledWithoutAByte) {
    Client first;
    Client second;
    std::promise<void> answer;
    first.server.Do([&](ACE_SOCK_Stream& /*peer*/) {
        answer.get_future().wait();
        return false;
    });
    second.agent.SetIsLocal(false);
    std::thread one = UntilItWaits([&] { first.Exchange(); });
    std::thread two = UntilItWaits([&] {
        CQXDB::QXCommand command(L"SELECT 1");
        second.agent.Execute(second.code, second.text, command);
    });
    std::thread cancel = UntilItWaits([&] { EXPECT_TRUE(second.agent.Cancel()); });
    answer.set_value();
    one.join();
    two.join();
    cancel.join();
    EXPECT_EQ(second.code, CQXDB::DBMGR_CANCELLED);
    EXPECT_TRUE(second.server.Requests().empty());
}

TEST(ExchangeLock, ItsFailureIsAFailureOfTheCall) {
    Client client;
    refuseLock = true;
    client.Exchange();
    EXPECT_EQ(client.result, -1);
    EXPECT_EQ(client.code, -1);
    EXPECT_EQ(client.text, L"critical_section lock exception\n");
    refuseLock = true;
    EXPECT_FALSE(client.agent.Shakehand());
    EXPECT_EQ(client.agent.errText_, client.text);
    EXPECT_TRUE(client.server.Requests().empty());
}

}  // namespace
