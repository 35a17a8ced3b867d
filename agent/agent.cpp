#include <utility>

#include <ace/OS_NS_sys_socket.h>
#include <ace/SOCK_Stream.h>

#include <qxdb/DBAgent.h>

#include "agent/agent_transaction.h"
#include "agent/cancel_point.h"
#include "agent/exchange_turn.h"
#include "agent/shared_transport.h"
#include "errors/caught_exception.h"
#include "transport/frame_cipher.h"
#include "util/split.h"
#include "util/text.h"

namespace CQXDB {
namespace {

/// Resets the connection instead of letting it linger.
void CloseAbortively(ACE_SOCK_Stream& stream) {
    linger off{};
    off.l_onoff = 1;
    off.l_linger = 0;
    stream.set_option(SOL_SOCKET, SO_LINGER, &off, sizeof off);
    ACE_OS::closesocket(stream.get_handle());
    stream.set_handle(ACE_INVALID_HANDLE);
}

}  // namespace

DBAgent::DBAgent() : dataSource_(new QXDataSource), cancelPoint_(std::make_shared<CancelPoint>()) {}
DBAgent::DBAgent(const DBAgent& other) = default;
DBAgent& DBAgent::operator=(const DBAgent& other) = default;

DBAgent::~DBAgent() {
    const auto release = [this] {
        delete std::exchange(dataSource_, nullptr);
        if (sock_ != nullptr) {
            CloseAbortively(*sock_);
            delete std::exchange(sock_, nullptr);
        }
        delete std::exchange(transport_, nullptr);
    };
    // A destructor lets nothing out.
    CQXBASE::RunProtected(QXDB_SITE(L"agent", L"CQXDB::DBAgent::~DBAgent"), release,
                          [](const CQXBASE::CaughtException& /*caught*/) {});
}

void DBAgent::AllowConcurrentExchanges(bool allow) noexcept {
    ExchangeTurn::AllowConcurrent(allow);
}

void DBAgent::KeepFrameKey(bool keep) noexcept {
    CQXBASE::FrameCipher::Keep(keep);
}

void DBAgent::init(const std::wstring& server, QXProxyInfo proxy, const std::wstring& token,
                   bool isLocal, const std::wstring& db) {
    token_ = token;
    isLocal_ = isLocal;
    SetDB(db);
    if (isLocal) {
        serverName_ = server;
        proxy_ = std::move(proxy);
    } else {
        connectTo_(server, std::move(proxy));
    }
}

void DBAgent::init(const QXSvrInfo& server, QXProxyInfo proxy, const std::wstring& token,
                   bool isLocal) {
    init(server.host + L":" + std::to_wstring(server.port), std::move(proxy), token, isLocal,
         server.database);
}

void DBAgent::initDB(CQXDB_DSType_ENUM type, const std::wstring& server, long port,
                     const std::wstring& database, const std::wstring& user,
                     const std::wstring& password, const std::wstring& options, bool trusted) {
    dataSource_->init(L"", type, server, port, database, user, password, trusted,
                      CQXBASE::ToNarrow(options, CQXBASE::kCodePageAnsi), 1);
}

void DBAgent::initDB(const QXDataSource& dataSource) {
    *dataSource_ = dataSource;
}

void DBAgent::SetDB(const std::wstring& db) {
    if (!db.empty() && dataSource_ != nullptr) {
        dataSource_->database = db;
    }
}

void DBAgent::SetIsLocal(bool local) {
    isLocal_ = local;
    if (!local) {
        connectTo_(std::wstring(serverName_), proxy_);
    }
}

void DBAgent::connectTo_(const std::wstring& server, QXProxyInfo proxy) {
    const auto pieces = CQXBASE::Split(server, L":");
    newConn_(pieces.empty() ? std::wstring() : pieces[0], CQXBASE::PieceToLong(pieces, 1),
             std::move(proxy));
}

void DBAgent::SetMaxReplyBytes(std::uint64_t bytes) {
    maxReplyBytes_ = bytes;
}

void DBAgent::SetReplyTimeout(std::uint32_t milliseconds) {
    replyTimeoutMs_ = milliseconds;
}

void DBAgent::SetTls(const QXTlsInfo& tls) {
    tls_ = tls;
}

bool DBAgent::isLocal() const {
    return isLocal_;
}

std::wstring DBAgent::DefaultDB() const {
    return dataSource_ == nullptr ? std::wstring() : dataSource_->database;
}

std::wstring DBAgent::ServerName() const {
    return serverName_;
}

std::wstring DBAgent::token() const {
    return token_;
}

bool DBAgent::useODBC_() const {
    return dataSource_->type != CQXDB_DS_EMBEDDED || dataSource_->driver != CQXDB_DRIVER_DEFAULT;
}

void DBAgent::myRaiseError(long code, std::wstring text) {
    errCode_ = code;
    errText_ = std::move(text);
}

}  // namespace CQXDB
