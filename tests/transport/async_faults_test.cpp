// What the asynchronous exchange makes of writes, reads and wake-ups that go wrong, over a proactor
// whose writes can be cut short or refused.
#include <cerrno>
#include <deque>
#include <new>
#include <sys/socket.h>
#include <utility>

#include <gtest/gtest.h>

#include "errors/qx_exception.h"
#include "platform/sockets/aiocb_proactor_posix.h"
#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"

namespace {

// Sizes of memory that nothrow new doesn't grant this thread.
thread_local std::size_t refusedObject = 0;
thread_local std::size_t refusedArray = 0;

}  // namespace

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return size == refusedObject ? nullptr : ::operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return size == refusedArray ? nullptr : ::operator new[](size);
}

namespace CQXBASE {
namespace {

/// What becomes of one write or read.
struct Fate {
    enum Kind { Done, Short, Refused, Throws } kind;
    std::size_t taken = 0;  ///< bytes that a short one takes; or which exception is thrown
};
using Fates = std::deque<Fate>;

/// A completion that never was a request.
template <class Result>
class MadeUp : public Result {
  public:
    MadeUp(const ACE_Handler::Proxy_Ptr& handler, ACE_HANDLE handle, ACE_Message_Block& block,
           std::size_t asked, Fate fate)
        : Result(handler, handle, block, asked, nullptr, ACE_INVALID_HANDLE, 0, 0), fate_(fate) {
        this->set_bytes_transferred(fate.taken);
    }
    int success() const override {
        if (fate_.kind == Fate::Throws) {
            Throw();
        }
        return Result::success();
    }

  private:
    [[noreturn]] void Throw() const {
        if (fate_.taken == 1) {
            QXDB_THROW(L"told", L"file", L"function");
        }
        if (fate_.taken == 2) {
            throw std::runtime_error("no result");
        }
        throw 42;
    }

    Fate fate_;
};
using MadeUpWrite = MadeUp<ACE_POSIX_Asynch_Write_Stream_Result>;
using MadeUpRead = MadeUp<ACE_POSIX_Asynch_Read_Stream_Result>;

class FatedWriter : public ACE_POSIX_Asynch_Write_Stream {
  public:
    FatedWriter(ACE_POSIX_Proactor* proactor, Fates& fates)
        : ACE_POSIX_Asynch_Write_Stream(proactor), fates_(fates) {}

    int write(ACE_Message_Block& block, std::size_t count, const void* act, int priority,
              int signal) override {
        const Fate fate = fates_.empty() ? Fate{Fate::Done} : fates_.front();
        if (!fates_.empty()) {
            fates_.pop_front();
        }
        if (fate.kind == Fate::Refused) {
            errno = EIO;
            return -1;
        }
        if (fate.kind == Fate::Done) {
            return ACE_POSIX_Asynch_Write_Stream::write(block, count, act, priority, signal);
        }
        if (fate.kind == Fate::Short) {
            EXPECT_EQ(send(handle_, block.rd_ptr(), fate.taken, MSG_NOSIGNAL),
                      static_cast<ssize_t>(fate.taken));
        }
        return posix_proactor()->post_completion(
            new MadeUpWrite(handler_proxy_, handle_, block, count, fate));
    }

  private:
    Fates& fates_;
};

/// Its reads throw.
class ThrowingReader : public ACE_POSIX_Asynch_Read_Stream {
  public:
    ThrowingReader(ACE_POSIX_Proactor* proactor, std::size_t thrown)
        : ACE_POSIX_Asynch_Read_Stream(proactor), thrown_(thrown) {}

    int read(ACE_Message_Block& block, std::size_t count, const void* /*act*/, int /*priority*/,
             int /*signal*/) override {
        return posix_proactor()->post_completion(
            new MadeUpRead(handler_proxy_, handle_, block, count, {Fate::Throws, thrown_}));
    }

  private:
    std::size_t thrown_;
};

class FatedProactor : public platform::sockets::AiocbProactor {
  public:
    explicit FatedProactor(Fates& fates) : fates_(fates) {}

    ACE_Asynch_Write_Stream_Impl* create_asynch_write_stream() override {
        return withoutWriter ? nullptr : new FatedWriter(this, fates_);
    }
    ACE_Asynch_Read_Stream_Impl* create_asynch_read_stream() override {
        return readsThrow == 0 ? AiocbProactor::create_asynch_read_stream()
                               : new ThrowingReader(this, readsThrow);
    }
    int handle_events() override {
        return std::exchange(failsOnce, false) ? -1 : AiocbProactor::handle_events();
    }

    bool withoutWriter = false;
    std::size_t readsThrow = 0;  ///< which exception, when not 0
    bool failsOnce = false;      ///< the next wait

  private:
    Fates& fates_;
};

class AsyncFaults : public TransportTest {
  protected:
    AsyncFaults() { Equip(io_); }
    void TearDown() override { refusedObject = refusedArray = 0; }

    void Equip(OpenQXIO& io) {
        impl_ = new FatedProactor(fates_);
        io.proactor_.reset(new ACE_Proactor(impl_, true));
    }
    int Send(const std::string& body) {
        Bytes record(body);
        return io_.Asy_sendobj(record, 1, false);
    }

    Fates fates_;
    FatedProactor* impl_ = nullptr;
    StreamPair pair_;
    OpenQXIO io_{pair_.nearEnd};
};

TEST_F(AsyncFaults, HeaderCutShortFailsTheSend) {
    for (const std::size_t bodySize : {4U, 8U, 100U}) {
        fates_ = {{Fate::Short, 8}};
        EXPECT_EQ(Send(std::string(bodySize, 'b')), -1);
        EXPECT_EQ(io_.LastErrorText(), L"发送数据失败。");
        EXPECT_EQ(Read(pair_.farEnd, 16), Frame(1, std::string(bodySize, 'b')).substr(0, 16));
    }
}

TEST_F(AsyncFaults, WritesThatCantBeStartedOrContinued) {
    fates_ = {{Fate::Done}, {Fate::Short, 5}, {Fate::Refused}};
    EXPECT_EQ(Send("twelve bytes"), -1);
    EXPECT_EQ(io_.LastErrorText(), L"发送数据失败。");
    EXPECT_EQ(log_.errors, Lines{"ACE_Asynch_Write_Stream::write: Input/output error\n"});
    io_.set_last_error(0, L"");
    fates_ = {{Fate::Refused}};
    EXPECT_EQ(Send("x"), -1);
    EXPECT_EQ(io_.LastErrorText(), L"Asynch_Write_Stream::write, Input/output error(5).");
    io_.set_last_error(0, L"");
    fates_ = {{Fate::Done}, {Fate::Refused}};
    EXPECT_EQ(Send("x"), -1);
    EXPECT_EQ(io_.LastErrorText(), L"Asynch_Write_Stream::write, Input/output error(5).");
    refusedObject = sizeof(ACE_Message_Block);
    EXPECT_EQ(Send("x"), -1);
    EXPECT_EQ(io_.LastErrorCode(), 12);
}

TEST_F(AsyncFaults, WriterThatCantBeOpened) {
    LoopbackPeer peer({[](ACE_SOCK_Stream& stream) { Read(stream, 1); }});
    OpenQXIO client(peer.Port());
    Equip(client);
    impl_->withoutWriter = true;
    Bytes record("x");
    EXPECT_EQ(client.Asy_sendobj(record, 1, false), -1);
    EXPECT_EQ(client.LastErrorText(), L"Asynch_Write_Stream::open, unknown error.(-1).");
    EXPECT_NE(client.peer_, nullptr);
}

TEST_F(AsyncFaults, NoMemoryForTheReceiveBlock) {
    refusedObject = sizeof(ACE_Message_Block);
    errno = 0;
    EXPECT_EQ(io_.Asy_receive_init(), -214);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(got_.AsyncFrom(io_), -1);
    EXPECT_EQ(got_.SyncFrom(io_), -5005);
    EXPECT_EQ(io_.LastErrorCode(), 12);
    refusedObject = 0;
    Write(pair_.farEnd, Frame(1, "at last"));
    EXPECT_EQ(got_.AsyncFrom(io_), 0);
    EXPECT_EQ(got_.Body(), "at last");
}

TEST_F(AsyncFaults, NoMemoryForTheBody) {
    Write(pair_.farEnd, Frame(1, std::string(5000, 'x')));
    refusedArray = 5000 + 24;
    EXPECT_EQ(got_.AsyncFrom(io_), -1);
    EXPECT_EQ(io_.LastErrorText(), L"Asy_receive_block::read, Cannot allocate memory(12).");
}

TEST_F(AsyncFaults, ExceptionsInTheHandlersAreLogged) {
    const Lines lines = {": error34, told\n \n", ": error35, no result\n \n",
                         ": error36, Unexpected error.\n \n"};
    for (const std::size_t thrown : {1U, 2U, 3U}) {
        fates_ = {{Fate::Done}, {Fate::Throws, thrown}};
        EXPECT_EQ(Send("x"), -1);
        EXPECT_EQ(io_.LastErrorText(), L"发送数据失败。");
    }
    EXPECT_EQ(log_.errors, lines);
    log_.errors.clear();
    for (const std::size_t thrown : {1U, 2U, 3U}) {
        OpenQXIO reading(pair_.nearEnd);
        Equip(reading);
        impl_->readsThrow = thrown;
        EXPECT_EQ(got_.AsyncFrom(reading), -1);
        EXPECT_EQ(reading.LastErrorCode(), 0);
    }
    EXPECT_EQ(log_.errors, lines);
}

TEST_F(AsyncFaults, FailedEventLoopLeavesNothingUnderWayAndAWrappedStreamOpen) {
    impl_->failsOnce = true;
    EXPECT_EQ(Send("x"), -1);
    EXPECT_EQ(io_.LastErrorText(), L"发送数据失败。");
    EXPECT_EQ(io_.pending_, 0U);
    EXPECT_EQ(ReadFrame(pair_.farEnd), Frame(1, "x"));
    Write(pair_.farEnd, Frame(1, "y") + "open");
    impl_->failsOnce = true;
    EXPECT_EQ(got_.AsyncFrom(io_), -1);
    EXPECT_EQ(io_.pending_, 0U);
    Write(pair_.nearEnd, "open");
    EXPECT_EQ(Read(pair_.farEnd, 4), "open");
    EXPECT_EQ(Read(pair_.nearEnd, 4), "open");
}

TEST_F(AsyncFaults, FailedEventLoopEndsAReceiveOnAConnectionOfItsOwn) {
    LoopbackPeer peer({[](ACE_SOCK_Stream& stream) { Read(stream, 100); }});
    OpenQXIO client(peer.Port());
    Equip(client);
    Bytes record("x");
    ASSERT_EQ(client.Asy_sendobj(record, 1, false), 0);
    impl_->failsOnce = true;
    EXPECT_EQ(got_.AsyncFrom(client), -1);  // which would wait for ever
    EXPECT_EQ(client.pending_, 0U);
}

}  // namespace
}  // namespace CQXBASE
