#include "server/requests/streamed_reply.h"

#include <algorithm>
#include <string>
#include <utility>

#include <ace/CDR_Stream.h>
#include <ace/Message_Block.h>

#include "objects/encoding/cdr_memory.h"

namespace CQXSERVER::requests {
namespace {

/// Enough rows for a column's bytes to compress well, and few enough to keep all threads busy.
constexpr std::size_t kPartRows = 16384;
constexpr std::size_t kPartBytes = std::size_t{2} << 20;
/// The first part is this much smaller, so that the other threads have something to do soon; each
/// that follows is twice as large.
constexpr std::size_t kFirstShare = 4;
constexpr std::size_t kMostWaiting = 2;  ///< parts; the query waits when encoding falls behind

constexpr int kLittleEndian = 1;
constexpr std::size_t kFirstPiece = std::size_t{1} << 20;  ///< of a part's encoding

}  // namespace

StreamedReply::StreamedReply(const network::ReplyEncoder& encoder, bool encipher)
    : sink_{kPartRows / kFirstShare, kPartBytes / kFirstShare,
            [this](CQXDB::QXRecordset&& rows) {
                begun_ = true;
                sink_.rows = std::min(2 * sink_.rows, kPartRows);
                sink_.bytes = std::min(2 * sink_.bytes, kPartBytes);
                Take({std::move(rows), false});
            }},
      lease_(encoder.Budget()),
      body_(std::make_unique<network::ReplyBody>(encipher ? &encoder.Cipher() : nullptr)) {}

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
    if (!lease_.GrowTo(body_->PlainSize() + part.rows.MemoryBytes())) {
        throw RequestRefused(ServerError::OutOfBuffers);
    }
    // Zero where nothing is written: alignment bytes travel too.
    ACE_OutputCDR out(kFirstPiece, kLittleEndian, CQXBASE::encoding::CdrMemory::Instance(),
                      CQXBASE::encoding::CdrMemory::Instance(),
                      CQXBASE::encoding::CdrMemory::Instance());
    if (part.rows.PartToCDR(out, first_, part.last) == 0 ||
        (part.last && !CQXBASE::WriteDetails(out, details_))) {
        throw RequestRefused(ServerError::Internal);
    }
    if (out.total_length() > network::ReplyEncoder::kLongestBody - body_->PlainSize()) {
        throw RequestRefused(ServerError::ResultTooLarge);
    }
    first_ = false;
    // A part ends aligned for the next one.
    std::string encoded;
    encoded.reserve(out.total_length());
    for (const ACE_Message_Block* piece = out.begin(); piece != nullptr; piece = piece->cont()) {
        encoded.append(piece->rd_ptr(), piece->length());
    }
    if (!lease_.GrowTo(body_->PlainSize() + encoded.size())) {
        throw RequestRefused(ServerError::OutOfBuffers);
    }
    body_->Add(std::move(encoded));
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

network::ReplyFrame StreamedReply::Finish(std::uint32_t code, CQXDB::QXRecordset last,
                                          CQXBASE::ReplyDetails details) {
    details_ = std::move(details);
    Take({std::move(last), true});
    Check();
    body_->Close();
    CQXBASE::FrameHeader header;
    header.typeCode = code;
    header.bodyLength = static_cast<std::uint32_t>(body_->Size());
    header.plainLength = static_cast<std::uint32_t>(body_->Enciphered() ? body_->PlainSize() : 0);
    return {CQXBASE::EncodeFrameHeader(header), {}, std::move(lease_), std::move(body_)};
}

}  // namespace CQXSERVER::requests
