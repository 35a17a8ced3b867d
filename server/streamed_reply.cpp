#include "server/streamed_reply.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include <ace/CDR_Stream.h>
#include <ace/Message_Block.h>

#include "objects/cdr_memory.h"

namespace CQXSERVER {
namespace {

/// Enough rows for a column's bytes to compress well, and few enough to keep both threads busy.
constexpr std::size_t kPartRows = 16384;
constexpr std::size_t kPartBytes = std::size_t{2} << 20;
constexpr std::size_t kMostWaiting = 2;  ///< parts; the query waits when encoding falls behind

constexpr int kLittleEndian = 1;
constexpr std::size_t kFirstPiece = std::size_t{1} << 20;  ///< of a part's encoding
/// How much of a body is enciphered ahead. It may yet grow too long to be enciphered at all.
constexpr std::size_t kEncipheredAhead = CQXBASE::kMaxEncipheredBody / 2;

}  // namespace

StreamedReply::StreamedReply(const ReplyEncoder& encoder, bool encipher)
    : encoder_(encoder),
      sink_{kPartRows, kPartBytes,
            [this](CQXDB::QXRecordset&& rows) {
                begun_ = true;
                Take({std::move(rows), false});
            }},
      lease_(encoder.Budget()),
      encipher_(encipher) {}

StreamedReply::~StreamedReply() {
    Join();
}

void StreamedReply::Take(Part part) {
    if (!thread_.joinable()) {
        thread_ = std::thread([this] { Work(); });
    }
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return waiting_.size() < kMostWaiting || failure_ != nullptr; });
    if (failure_ != nullptr) {
        std::rethrow_exception(failure_);
    }
    waiting_.push_back(std::move(part));
    changed_.notify_all();
}

void StreamedReply::Work() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return !waiting_.empty() || closed_; });
        if (waiting_.empty() || failure_ != nullptr) {
            return;
        }
        Part part = std::move(waiting_.front());
        waiting_.pop_front();
        changed_.notify_all();
        lock.unlock();
        std::exception_ptr failure;
        try {
            Encode(part);
        } catch (...) {
            failure = std::current_exception();
        }
        lock.lock();
        failure_ = failure;
        changed_.notify_all();
    }
}

void StreamedReply::Encode(Part& part) {
    // The rows' memory stands for their encoding, which would take a pass over all rows to
    // foretell.
    if (!lease_.GrowTo(plain_.size() + part.rows.MemoryBytes())) {
        throw RequestRefused(ServerError::OutOfBuffers);
    }
    // Zero where nothing is written: alignment bytes travel too.
    ACE_OutputCDR out(kFirstPiece, kLittleEndian, CQXBASE::CdrMemory::Instance(),
                      CQXBASE::CdrMemory::Instance(), CQXBASE::CdrMemory::Instance());
    if (part.rows.PartToCDR(out, first_, part.last) == 0) {
        throw RequestRefused(ServerError::Internal);
    }
    if (out.total_length() > ReplyEncoder::kLongestBody - plain_.size()) {
        throw RequestRefused(ServerError::ResultTooLarge);
    }
    first_ = false;
    // A part ends aligned for the next one.
    for (const ACE_Message_Block* piece = out.begin(); piece != nullptr; piece = piece->cont()) {
        plain_.append(piece->rd_ptr(), piece->length());
    }
    if (!lease_.GrowTo(plain_.size())) {
        throw RequestRefused(ServerError::OutOfBuffers);
    }
    if (encipher_) {
        Encipher(std::min(plain_.size(), kEncipheredAhead));
    }
}

void StreamedReply::Encipher(std::size_t upTo) {
    if (!cipher_) {
        cipher_.emplace(encoder_.Cipher());
    }
    if (upTo > enciphered_) {
        cipher_->Add(std::string_view(plain_).substr(enciphered_, upTo - enciphered_));
        enciphered_ = upTo;
    }
}

void StreamedReply::Join() {
    if (thread_.joinable()) {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            closed_ = true;
            changed_.notify_all();
        }
        thread_.join();
    }
}

void StreamedReply::Check() {
    Join();
    if (failure_ != nullptr) {
        std::rethrow_exception(failure_);
    }
}

ReplyFrame StreamedReply::Finish(std::uint32_t code, CQXDB::QXRecordset last) {
    Take({std::move(last), true});
    Check();
    CQXBASE::FrameHeader header;
    header.typeCode = code;
    if (encipher_ && plain_.size() <= CQXBASE::kMaxEncipheredBody) {
        header.plainLength = static_cast<std::uint32_t>(plain_.size());
        Encipher(plain_.size());
        plain_ = cipher_->Finish();
    }
    header.bodyLength = static_cast<std::uint32_t>(plain_.size());
    return {CQXBASE::EncodeFrameHeader(header), std::move(plain_), std::move(lease_)};
}

}  // namespace CQXSERVER
