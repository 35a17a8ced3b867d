#include "server/operation/tls_init.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <system_error>

#include "platform/files/access.h"
#include "server/log.h"
#include "server/operation/data_folder.h"
#include "server/operation/tls_files.h"
#include "server/server_error.h"
#include "tls/authority/authority.h"
#include "tls/authority/hosts.h"
#include "tls/names.h"
#include "tls/tls_error.h"
#include "util/printable.h"

namespace CQXSERVER::operation {
namespace {

namespace fs = std::filesystem;
namespace files = CQXBASE::platform::files;
namespace tls = CQXBASE::tls;
using tls::authority::Authority;
using tls::authority::Issued;

constexpr std::chrono::hours kDay{24};
constexpr auto kAuthorityTime = 3652 * kDay;
constexpr auto kServerTime = 730 * kDay;  // clients may refuse what is valid for over 825 days

constexpr char kWhatNext[] = R"(

The server takes it at its next start, or on SIGHUP. The keys stay where they are.
Clients need a copy of ca.pem, which is no secret. The folder is closed to others,
so hand the copy on:

    qxdb --server )";

std::string Quoted(const fs::path& path) {
    return "'" + path.u8string() + "'";
}

void Check(const std::error_code& error, const fs::path& path) {
    if (error) {
        throw OperatorError("can't make " + Quoted(path) + ": " + error.message());
    }
}

/// For the owner only. The file appears complete or not at all.
void Write(const fs::path& path, const std::string& text) {
    fs::path unfinished = path;
    unfinished += ".new";
    std::error_code error;
    fs::remove(unfinished, error);
    Check(files::MakePrivate(unfinished), unfinished);
    std::ofstream file(unfinished, std::ios::binary);
    file << text;
    file.close();
    if (!file) {
        fs::remove(unfinished, error);
        Check(std::make_error_code(std::errc::io_error), path);
    }
    fs::rename(unfinished, path, error);
    Check(error, path);
}

/// Clients have copies of the authority's certificate, so nothing takes its place unasked.
void RequireNone(const OwnTlsFiles& own) {
    for (const fs::path& each : {own.ca, own.caKey, own.certificate, own.key}) {
        std::error_code error;
        if (fs::symlink_status(each, error).type() != fs::file_type::not_found) {
            throw OperatorError("there is " + Quoted(each) + " already: " +
                                (each == own.ca ? "--renew has this authority make the server a "
                                                  "new certificate"
                                                : "move it away first"));
        }
    }
}

void CheckHosts(const std::vector<std::string>& hosts) {
    for (const std::string& each : hosts) {
        if (!tls::authority::IsHost(each)) {
            throw OperatorError("'" + CQXBASE::PrintableUtf8(each) +
                                "' is neither a host name nor an IP address: give it without port, "
                                "brackets and scheme, in ASCII");
        }
    }
}

void MakeFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directory(folder, error);
    Check(error, folder);
    if (files::OpenToOthers(folder)) {
        Check(files::CloseToOthers(folder), folder);
    }
}

Authority NewAuthority(const OwnTlsFiles& own, const CommandLine& command) {
    PrepareDataFolder(command.options.dataDir);
    RequireOwnDataFolder(command.options.dataDir);
    MakeFolder(own.folder);
    RequireNone(own);
    const std::string name = "CA of " + command.hosts.front();
    Authority made =
        Authority::Make(name.substr(0, tls::authority::Subject::kLongestName), {kAuthorityTime});
    Write(own.caKey, made.Own().KeyPem());
    Write(own.ca, made.Own().CertificatePem());
    return made;
}

Authority PresentAuthority(const OwnTlsFiles& own, const CommandLine& command) {
    RequireOwnDataFolder(command.options.dataDir);
    Authority found = Authority::Load(own.ca.u8string(), own.caKey.u8string());
    if (found.TimeLeft() <= std::chrono::seconds(0)) {
        throw OperatorError("the authority in " + Quoted(own.ca) +
                            " has expired: move its folder away and make a new one");
    }
    return found;
}

/// The certificate, which tells a server that there is TLS, comes last.
void WriteCertificate(const OwnTlsFiles& own, const Authority& authority, const Issued& issued) {
    Write(own.key, issued.KeyPem());
    Write(own.certificate, issued.CertificatePem() + authority.Own().CertificatePem());
}

std::string EndOf(const Issued& issued) {
    return tls::TimeText(*X509_get0_notAfter(issued.certificate.get()));
}

/// The server's address for a client, of a wildcard one that it could be.
std::string ExampleAddress(std::string host, const std::string& listen) {
    const std::string port = listen.substr(listen.rfind(':') + 1);
    if (host.front() == '*') {
        host.replace(0, 1, "db");
    }
    if (host.find(':') != std::string::npos) {
        host = "[" + host + "]";
    }
    return port == "0" ? host : host + ":" + port;
}

void Tell(std::ostream& out, const CommandLine& command, const OwnTlsFiles& own,
          const Authority& authority, const Issued& issued) {
    const std::string ca = fs::absolute(own.ca).lexically_normal().u8string();
    out << (command.renew ? "authority, as before:   " : "new authority:          ") << ca
        << "\n  SHA-256 fingerprint:  " << tls::FingerprintText(*authority.Own().certificate)
        << "\n  valid until:          " << EndOf(authority.Own()) << "\nserver's certificate:   "
        << fs::absolute(own.certificate).lexically_normal().u8string()
        << "\n  for:                  " << tls::HostsText(*issued.certificate)
        << "\n  valid until:          " << EndOf(issued) << kWhatNext
        << ExampleAddress(command.hosts.front(), command.options.listen)
        << " --user NAME --tls --tls-ca ca.pem\n";
    if (!out.flush()) {
        throw OperatorError("the certificates are made, but that can't be told");
    }
}

}  // namespace

void InitTls(const CommandLine& command, std::ostream& out) {
    CheckHosts(command.hosts);
    const OwnTlsFiles own(command.options.dataDir);
    const std::string& host = command.hosts.front();
    try {
        const Authority authority =
            command.renew ? PresentAuthority(own, command) : NewAuthority(own, command);
        tls::authority::Subject server;
        server.name = host.size() <= tls::authority::Subject::kLongestName ? host : "qxdbserver";
        server.hosts = command.hosts;
        const Issued issued = authority.Issue(
            server, {std::min<std::chrono::seconds>(kServerTime, authority.TimeLeft())});
        WriteCertificate(own, authority, issued);
        Tell(out, command, own, authority, issued);
    } catch (const tls::TlsError& e) {
        throw OperatorError(e.what());
    }
    if (!command.options.tls.certificate.empty()) {
        LogWarning("the server won't use it: it is configured to use '",
                   command.options.tls.certificate, "'");
    }
}

}  // namespace CQXSERVER::operation
