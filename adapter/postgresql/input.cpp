// What comes from the server, without keeping what nobody asked for.
#include <cstdint>
#include <memory>
#include <new>

#include <ace/ACE.h>
#include <ace/Time_Value.h>

#include "adapter/postgresql/connection.h"
#include "adapter/postgresql/errors.h"

namespace CQXDB::adapter::postgresql {
namespace {

/// How long somebody who is no longer wanted waits at most.
constexpr suseconds_t kMomentUs = 50000;

struct NotificationFree {
    void operator()(PGnotify* notification) const noexcept { PQfreemem(notification); }
};

}  // namespace

PgResult PgConnection::NextResult() {
    PGconn* connection = handle_.get();
    while (PQisBusy(connection) != 0 && PQstatus(connection) == CONNECTION_OK) {
        TakeInput();
    }
    PgResult result(PQgetResult(connection));
    if (result) {
        Measure(PQresultMemorySize(result.get()));
    }
    return result;
}

void PgConnection::DropCopiedData() {
    char* line = nullptr;
    int bytes = 0;
    while ((bytes = PQgetCopyData(handle_.get(), &line, 1)) >= 0) {
        PQfreemem(line);
        line = nullptr;
        Measure(static_cast<std::size_t>(bytes));
        if (bytes == 0) {
            TakeInput();
        }
    }
}

void PgConnection::TakeInput() {
    PGconn* connection = handle_.get();
    DropNotifications();
    if (givenUp_) {
        RefuseCancelled();
    }
    const auto socket = (ACE_HANDLE)std::intptr_t{PQsocket(connection)};
    const ACE_Time_Value moment(0, kMomentUs);
    // What TLS has read ahead doesn't make the socket ready; it waits for a moment then.
    ACE::handle_read_ready(socket, &moment);
    PQconsumeInput(connection);
}

void PgConnection::DropNotifications() noexcept {
    while (
        const std::unique_ptr<PGnotify, NotificationFree> notification{PQnotifies(handle_.get())}) {
    }
}

void PgConnection::TakeNotice(void* of, const PGresult* notice) noexcept {
    auto& connection = *static_cast<PgConnection*>(of);
    connection.Measure(PQresultMemorySize(notice));
    try {
        if (connection.report_ != nullptr) {
            AddPgNotice(*connection.report_, notice);
        }
    } catch (const std::bad_alloc&) {
        // Libpq, which calls this, knows no exceptions.
    }
}

void PgConnection::Measure(std::size_t bytes) noexcept {
    swollen_ = swollen_ || bytes > kMostBufferBytes;
}

}  // namespace CQXDB::adapter::postgresql
