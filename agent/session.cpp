#include <algorithm>
#include <cwctype>
#include <limits>
#include <utility>

#include <ace/Init_ACE.h>

#include <qxdb/DBAgent.h>

#include "agent/shared_transport.h"
#include "agent/told.h"
#include "messages/session_records.h"
#include "messages/type_codes.h"

namespace CQXDB {
namespace {

bool EqualIgnoringCase(const std::wstring& a, const std::wstring& b) {
    const auto same = [](wchar_t x, wchar_t y) {
        return std::towlower(static_cast<std::wint_t>(x)) ==
               std::towlower(static_cast<std::wint_t>(y));
    };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), same);
}

/// The transport refuses what is no port; a number that it can't even hold stays one of those.
unsigned PortNumber(long port) {
    const auto number = static_cast<unsigned>(port);
    return static_cast<long>(number) == port ? number : std::numeric_limits<unsigned>::max();
}

}  // namespace

void DBAgent::newConn_(const std::wstring& host, long port, QXProxyInfo proxy) {
    std::wstring key = host + L":" + std::to_wstring(port);
    if (transport_ != nullptr && !EqualIgnoringCase(key, serverName_)) {
        delete transport_;
        transport_ = nullptr;
    }
    if (transport_ == nullptr) {
        ACE::init();
        transport_ =
            new SharedTransport(host, PortNumber(port), static_cast<unsigned>(proxy.kind),
                                proxy.host, PortNumber(proxy.port), proxy.user, proxy.password);
    }
    serverName_ = std::move(key);
    proxy_ = std::move(proxy);
}

bool DBAgent::Login(const std::wstring& host, long port, QXProxyInfo proxy,
                    const std::wstring& login, std::wstring& info, std::wstring& token) {
    bool done = false;
    Told(errCode_, errText_, [&] {
        CQXBASE::QXOneString request(login);
        token.clear();
        newConn_(host, port, std::move(proxy));
        const int result = RemoteExec(errCode_, errText_, request, CQXBASE::kLogin, nullptr);
        info = loginInfo_;
        token = token_;
        done = result == 0;
    });
    return done;
}

// The verdict is the error field's, not the exchange's result as in Login.
bool DBAgent::VirLogin(const std::wstring& host, long port, QXProxyInfo proxy,
                       const std::wstring& login, std::wstring& token, CQXDB_DSType_ENUM& dsType,
                       CQXDB_DriverType_ENUM& driverType) {
    Told(errCode_, errText_, [&] {
        CQXBASE::QXOneString request(login);
        myRaiseError(0, L"");
        token.clear();
        newConn_(host, port, std::move(proxy));
        RemoteExec(errCode_, errText_, request, CQXBASE::kVirtualLogin, nullptr);
        token = token_;
        dsType = dsType_;
        driverType = driverType_;
    });
    return errCode_ == 0;
}

void DBAgent::VirLogout(const std::wstring& host, long port, QXProxyInfo proxy,
                        const std::wstring& login) {
    Told(errCode_, errText_, [&] {
        CQXBASE::QXOneString request(login);
        myRaiseError(0, L"");
        newConn_(host, port, std::move(proxy));
        RemoteExec(errCode_, errText_, request, CQXBASE::kVirtualLogout, nullptr);
    });
}

bool DBAgent::Shakehand() {
    ACE::init();
    CQXBASE::QXSimpleMsg request(L"", 0);
    return RemoteExec(errCode_, errText_, request, CQXBASE::kHandshake, nullptr) == 0;
}

bool DBAgent::SendMsg(const std::wstring& text) {
    bool done = false;
    Told(errCode_, errText_, [&] {
        if (!text.empty()) {
            CQXBASE::QXOneString request(text);
            done = RemoteExec(errCode_, errText_, request, CQXBASE::kSendText, nullptr) == 0;
        }
    });
    return done;
}

}  // namespace CQXDB
