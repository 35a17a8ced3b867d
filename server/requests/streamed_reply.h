// A large query's reply, made while its rows are still being read.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include <qxdb/RowSink.h>

#include "messages/reply_details.h"
#include "server/network/reply_frame.h"

namespace CQXSERVER::requests {

/// Encodes the parts of a result on a thread of its own, which starts with the first part, and has
/// them enciphered on a further one; a small result has neither. To be used by one thread.
class StreamedReply {
  public:
    /// What `encoder` holds is borrowed.
    StreamedReply(const network::ReplyEncoder& encoder, bool encipher);
    StreamedReply(const StreamedReply&) = delete;
    StreamedReply& operator=(const StreamedReply&) = delete;
    ~StreamedReply();

    /// For the query.
    const CQXDB::RowSink& Sink() const noexcept { return sink_; }
    /// Whether the sink has got anything.
    bool Begun() const noexcept { return begun_; }
    /// Waits for what was taken, and throws what went wrong with it: RequestRefused when the reply
    /// is too long or there are no buffers for it.
    void Check();
    /// The reply, `last` being the rows behind those that the sink has got. Throws like Check.
    network::ReplyFrame Finish(std::uint32_t code, CQXDB::QXRecordset last,
                               CQXBASE::ReplyDetails details);

  private:
    struct Part {
        CQXDB::QXRecordset rows;
        bool last;
    };

    void Take(Part part);
    void Work();
    void Encode(Part& part);
    void Join();

    CQXDB::RowSink sink_;
    bool begun_ = false;
    std::thread thread_;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Part> waiting_;    ///< guarded by mutex_, and so are the next two
    bool closed_ = false;         ///< no part will follow
    std::exception_ptr failure_;  ///< after it parts are dropped

    // The encoding thread's, until it has ended.
    ByteLease lease_;
    std::unique_ptr<network::ReplyBody> body_;
    bool first_ = true;
    CQXBASE::ReplyDetails details_;  ///< set before the last part is taken
};

}  // namespace CQXSERVER::requests
