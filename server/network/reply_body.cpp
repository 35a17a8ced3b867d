#include "server/network/reply_body.h"

#include <algorithm>
#include <utility>

#include "transport/frame.h"

namespace CQXSERVER::network {
namespace {

/// How much of a body is enciphered ahead. It may yet grow too long to be enciphered at all.
constexpr std::size_t kMostAhead = CQXBASE::kMaxEncipheredBody / 2;
/// Some two milliseconds of enciphering, after which the sender gets them.
constexpr std::size_t kSlice = std::size_t{256} << 10;

}  // namespace

ReplyBody::ReplyBody(const CQXBASE::FrameCipher* cipher) {
    if (cipher != nullptr) {
        stream_.emplace(*cipher);
    }
}

ReplyBody::~ReplyBody() {
    if (thread_.joinable()) {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            abandoned_ = true;
            changed_.notify_all();
        }
        thread_.join();
    }
}

void ReplyBody::Add(std::string piece) {
    plainSize_ += piece.size();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        plain_.push_back(std::move(piece));
        changed_.notify_all();
    }
    if (stream_ && !thread_.joinable()) {
        thread_ = std::thread([this] { Work(); });
    }
}

void ReplyBody::Close() {
    const bool enciphered = thread_.joinable() && plainSize_ <= CQXBASE::kMaxEncipheredBody;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        state_ = enciphered ? State::Enciphered : State::Plain;
        if (enciphered && failure_ != nullptr) {
            std::rethrow_exception(failure_);
        }
        changed_.notify_all();
    }
    if (!enciphered && thread_.joinable()) {
        thread_.join();  // the pieces are the sender's from here on
        cipherText_.clear();
    }
}

std::size_t ReplyBody::Size() const noexcept {
    return Enciphered() ? CQXBASE::FrameCipher::CipherLength(plainSize_) : plainSize_;
}

std::string_view ReplyBody::Ready(const Wake& wake) {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::deque<std::string>& pieces = Outgoing();
    while (!pieces.empty() && sent_ == pieces.front().size()) {
        pieces.pop_front();
        sent_ = 0;
    }
    if (!pieces.empty()) {
        return std::string_view(pieces.front()).substr(sent_);
    }
    if (failure_ != nullptr) {
        std::rethrow_exception(failure_);
    }
    wake_ = wake;
    return {};
}

void ReplyBody::Work() {
    std::unique_lock<std::mutex> lock(mutex_);
    try {
        while (NextPiece(lock)) {
            EncipherNext(lock);
        }
        if (state_ == State::Enciphered && !abandoned_) {
            Publish(lock, stream_->Finish());
        }
    } catch (...) {
        if (!lock.owns_lock()) {
            lock.lock();
        }
        failure_ = std::current_exception();
        WakeSender(lock);
    }
}

/// Waits until there is a piece to encipher; false when there won't be one.
bool ReplyBody::NextPiece(std::unique_lock<std::mutex>& lock) {
    changed_.wait(lock, [this] {
        return abandoned_ || state_ != State::Open ||
               (next_ < plain_.size() && ahead_ < kMostAhead);
    });
    return !abandoned_ && state_ != State::Plain && next_ < plain_.size();
}

void ReplyBody::EncipherNext(std::unique_lock<std::mutex>& lock) {
    std::string& piece = plain_[next_++];
    for (std::size_t start = 0; start < piece.size() && !abandoned_ && state_ != State::Plain;
         start += kSlice) {
        lock.unlock();
        stream_->Add(std::string_view(piece).substr(start, kSlice));
        std::string text = stream_->Take();
        lock.lock();
        Publish(lock, std::move(text));
    }
    ahead_ += piece.size();
    // Until the body is closed they may yet have to travel as they are.
    for (; state_ == State::Enciphered && dropped_ < next_; ++dropped_) {
        plain_[dropped_] = std::string();
    }
}

void ReplyBody::Publish(std::unique_lock<std::mutex>& lock, std::string text) {
    cipherText_.push_back(std::move(text));
    WakeSender(lock);
}

void ReplyBody::WakeSender(std::unique_lock<std::mutex>& lock) {
    if (const Wake wake = std::exchange(wake_, nullptr)) {
        lock.unlock();
        wake();
        lock.lock();
    }
}

}  // namespace CQXSERVER::network
