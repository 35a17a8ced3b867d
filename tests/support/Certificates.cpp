#include "tests/support/Certificates.h"

#include <filesystem>

namespace qxdb_test {

using CQXBASE::tls::authority::Authority;
using CQXBASE::tls::authority::Purpose;

Certificates::Certificates()
    : authority_(Authority::Make("tests", {std::chrono::hours(48), -std::chrono::hours(2400)})),
      ca_(folder_.File("ca.pem")) {
    WriteFile(ca_, authority_.Own().CertificatePem());
}

CertificateFiles Certificates::Server(const std::vector<std::string>& hosts, Validity validity) {
    return Write({Purpose::Server, "server", hosts}, validity);
}

CertificateFiles Certificates::Client(Validity validity) {
    return Write({Purpose::Client, "client", {}}, validity);
}

CQXDB::QXTlsInfo Certificates::Info() const {
    CQXDB::QXTlsInfo info;
    info.enabled = true;
    info.caFile = std::filesystem::u8path(ca_).wstring();
    return info;
}

CertificateFiles Certificates::Write(const Subject& subject, const Validity& validity) {
    const auto issued = authority_.Issue(subject, validity);
    const std::string name = folder_.File(std::to_string(++count_));
    const CertificateFiles files{name + ".pem", name + "-key.pem"};
    WriteFile(files.certificate, issued.CertificatePem());
    WriteFile(files.key, issued.KeyPem());
    std::filesystem::permissions(
        files.key, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    return files;
}

}  // namespace qxdb_test
