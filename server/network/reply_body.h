// The body of a large reply, which leaves while it is still being enciphered.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "transport/frame_cipher.h"

namespace CQXSERVER::network {

/// Takes a body piece by piece from the thread that makes it, enciphers the pieces on a thread of
/// its own, and hands them to the thread that sends them. Whether the body is enciphered at all is
/// known at its end only: one that is too long travels as it is.
class ReplyBody {
  public:
    /// Called on another thread.
    using Wake = std::function<void()>;

    /// A body that stays plain, or with a cipher one that is enciphered unless it grows too long.
    explicit ReplyBody(const CQXBASE::FrameCipher* cipher);
    ReplyBody(const ReplyBody&) = delete;
    ReplyBody& operator=(const ReplyBody&) = delete;
    /// Gives up what isn't enciphered yet.
    ~ReplyBody();

    // By the maker.
    void Add(std::string piece);
    /// Nothing will follow. Throws what went wrong with enciphering so far.
    void Close();

    std::size_t PlainSize() const noexcept { return plainSize_; }
    // Of a closed body.
    bool Enciphered() const noexcept { return state_ == State::Enciphered; }
    /// Bytes that are sent.
    std::size_t Size() const noexcept;

    // By the sender, of a closed body.
    /// What comes next and is ready, valid until Skip; nothing when more has to be waited for, and
    /// then `wake` is called once there is more. Throws what went wrong with enciphering.
    std::string_view Ready(const Wake& wake);
    /// `count` bytes of those have been sent.
    void Skip(std::size_t count) noexcept { sent_ += count; }

  private:
    enum class State { Open, Plain, Enciphered };

    void Work();
    // By the thread, with the lock.
    bool NextPiece(std::unique_lock<std::mutex>& lock);
    void EncipherNext(std::unique_lock<std::mutex>& lock);
    void Publish(std::unique_lock<std::mutex>& lock, std::string text);
    void WakeSender(std::unique_lock<std::mutex>& lock);

    std::deque<std::string>& Outgoing() noexcept { return Enciphered() ? cipherText_ : plain_; }

    std::size_t plainSize_ = 0;
    std::size_t sent_ = 0;  ///< of the first outgoing piece; the sender's
    std::optional<CQXBASE::FrameCipher::Stream> stream_;  ///< the thread's
    std::thread thread_;                                  ///< none for a body that stays plain

    std::mutex mutex_;
    std::condition_variable changed_;
    // Guarded by mutex_.
    State state_ = State::Open;
    bool abandoned_ = false;
    std::exception_ptr failure_;
    std::deque<std::string> plain_;
    std::size_t next_ = 0;                ///< the piece of plain_ that is enciphered next
    std::size_t ahead_ = 0;               ///< bytes of those before it
    std::size_t dropped_ = 0;             ///< those of which only the ciphertext is left
    std::deque<std::string> cipherText_;  ///< of those before it, less what has been sent
    Wake wake_;                           ///< set while the sender waits
};

}  // namespace CQXSERVER::network
