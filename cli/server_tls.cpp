#include "cli/server_tls.h"

#include <Poco/Environment.h>
#include <Poco/NumberParser.h>

#include "cli/exit_status.h"
#include "util/text.h"

namespace CQXCLI {

using CQXBASE::Utf8ToWide;
using CQXDB::QXTlsInfo;

namespace {

constexpr const char* kSwitch = "QXDB_TLS";

/// True for a variable that says yes, false for one that says nothing.
bool SwitchedOn(const std::string& value) {
    bool on = false;
    if (value.empty()) {
        return false;
    }
    if (!Poco::NumberParser::tryParseBool(value, on)) {
        throw CliError(kWrongUsage, "the variable QXDB_TLS is 1 or 0, not " + value);
    }
    return on;
}

void TakeVariable(std::string& option, const char* name) {
    if (option.empty()) {
        option = Poco::Environment::get(name, "");
    }
}

}  // namespace

bool TlsOptions::Wanted() const {
    return on || trustAnyServer || !caFile.empty() || !certificateFile.empty() ||
           !keyFile.empty() || !serverName.empty() || !oldestVersion.empty();
}

TlsOptions WithEnvironment(TlsOptions options) {
    const std::string value = Poco::Environment::get(kSwitch, "");
    const bool on = SwitchedOn(value);
    if (!value.empty() && !on) {
        return options;
    }
    options.on = options.on || on;
    TakeVariable(options.caFile, "QXDB_TLS_CA");
    TakeVariable(options.serverName, "QXDB_TLS_NAME");
    if (options.certificateFile.empty() && options.keyFile.empty()) {
        TakeVariable(options.certificateFile, "QXDB_TLS_CERT");
        TakeVariable(options.keyFile, "QXDB_TLS_KEY");
    }
    return options;
}

QXTlsInfo MakeTlsInfo(const TlsOptions& options) {
    QXTlsInfo info;
    info.enabled = options.Wanted();
    info.caFile = Utf8ToWide(options.caFile);
    info.certificateFile = Utf8ToWide(options.certificateFile);
    info.keyFile = Utf8ToWide(options.keyFile);
    info.serverName = Utf8ToWide(options.serverName);
    info.trustAnyServerWithoutVerification = options.trustAnyServer;
    if (options.oldestVersion == "1.2") {
        info.oldestVersion = CQXDB::QXTLS_1_2;
    }
    return info;
}

std::string TlsHint(long code) {
    constexpr long kTlsRequired = -6035;  // told by the server
    switch (code) {
        case CQXDB::QXTLS_UNTRUSTED:
            return "--tls-ca FILE names the CA file";
        case CQXDB::QXTLS_WRONG_NAME:
            return "--tls-name NAME gives the name to verify";
        case CQXDB::QXTLS_CERTIFICATE_WANTED:
            return "--tls-cert FILE and --tls-key FILE give them";
        case CQXDB::QXTLS_NO_COMMON_VERSION:
            return "--tls-min-version 1.2 allows one that is older, but not broken";
        case kTlsRequired:
            return "--tls asks for it";
        default:
            return {};
    }
}

}  // namespace CQXCLI
