#include "tls/server_session.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "tls/tls_error.h"

namespace CQXBASE::tls {
namespace {

constexpr std::size_t kRecord = SSL3_RT_MAX_PLAIN_LENGTH;
/// A buffer that was needed once and is larger than this is given back when it is empty.
constexpr std::size_t kKeptBuffer = 1024;

void Empty(std::string& buffer) noexcept {
    if (buffer.capacity() > kKeptBuffer) {
        buffer = std::string();
    } else {
        buffer.clear();
    }
}

}  // namespace

ServerSession::ServerSession(const Context& context) : ssl_(SSL_new(context.get()), SSL_free) {
    BIO* const bio = ssl_ == nullptr ? nullptr : NewBio(*this);
    if (bio == nullptr) {
        throw std::bad_alloc();
    }
    SSL_set_bio(ssl_.get(), bio, bio);
    SSL_set_accept_state(ssl_.get());
}

ServerSession::~ServerSession() = default;

void ServerSession::Feed(std::string_view bytes) {
    if (!HasInput()) {
        in_.clear();
        taken_ = 0;
    }
    in_.append(bytes);
}

std::size_t ServerSession::Read(char* bytes, std::size_t count) {
    if (state_ != State::Handshaking && state_ != State::Open) {
        return 0;
    }
    std::size_t got = 0;
    ForgetErrors();
    const int result = SSL_read_ex(ssl_.get(), bytes, count, &got);
    if (state_ == State::Handshaking && SSL_is_init_finished(ssl_.get()) != 0) {
        state_ = State::Open;
    }
    if (result != 1) {
        Fail(result);
    }
    if (!HasInput()) {
        Empty(in_);
        taken_ = 0;
    }
    return result == 1 ? got : 0;
}

bool ServerSession::Write(std::string_view head, std::string_view body) {
    if (!head.empty()) {
        std::string first(head);
        const std::size_t more = std::min(body.size(), kRecord - head.size());
        first.append(body.substr(0, more));
        body.remove_prefix(more);
        if (!WriteRecord(first)) {
            return false;
        }
    }
    return body.empty() || WriteRecord(body);
}

bool ServerSession::WriteRecord(std::string_view plain) {
    std::size_t written = 0;
    ForgetErrors();
    const int result = SSL_write_ex(ssl_.get(), plain.data(), plain.size(), &written);
    if (result != 1) {
        Fail(result);
    }
    return result == 1;
}

void ServerSession::Farewell() {
    if ((state_ == State::Open || state_ == State::Finished) && !parted_) {
        parted_ = true;
        ForgetErrors();
        SSL_shutdown(ssl_.get());
    }
}

void ServerSession::Sent(std::size_t count) noexcept {
    sent_ += count;
    if (sent_ == out_.size()) {
        Empty(out_);
        sent_ = 0;
    }
}

/// Nothing has failed when TLS just wants more bytes.
void ServerSession::Fail(int result) {
    switch (SSL_get_error(ssl_.get(), result)) {
        case SSL_ERROR_WANT_READ:
            return;
        case SSL_ERROR_ZERO_RETURN:
            state_ = State::Finished;
            return;
        default:
            state_ = State::Failed;
            reason_ = TakeErrors();
    }
}

std::string ServerSession::Description() const {
    return std::string(SSL_get_version(ssl_.get())) + ", " + SSL_get_cipher_name(ssl_.get());
}

std::ptrdiff_t ServerSession::ReadWire(char* bytes, std::size_t count) noexcept {
    const std::size_t got = std::min(count, in_.size() - taken_);
    if (got == 0) {
        return kLater;
    }
    std::memcpy(bytes, in_.data() + taken_, got);
    taken_ += got;
    return static_cast<std::ptrdiff_t>(got);
}

std::ptrdiff_t ServerSession::WriteWire(const char* bytes, std::size_t count) noexcept {
    try {
        out_.append(bytes, count);
        return static_cast<std::ptrdiff_t>(count);
    } catch (const std::bad_alloc&) {
        return -1;
    }
}

}  // namespace CQXBASE::tls
