// Certificates made for a test, as files.
#pragma once

#include <string>

#include <qxdb/QXTlsInfo.h>

#include "tests/support/TempDir.h"
#include "tls/authority/authority.h"

namespace qxdb_test {

struct CertificateFiles {
    std::string certificate;
    std::string key;
};

/// Issues certificates for 127.0.0.1 and localhost, or as told. The files go with it.
class Certificates {
  public:
    using Validity = CQXBASE::tls::authority::Validity;
    using Subject = CQXBASE::tls::authority::Subject;

    Certificates();

    /// Of those who issue the others.
    const std::string& CaFile() const noexcept { return ca_; }
    CertificateFiles Server(const std::vector<std::string>& hosts = {"127.0.0.1", "localhost"},
                            Validity validity = {std::chrono::hours(24)});
    CertificateFiles Client(Validity validity = {std::chrono::hours(24)});
    /// What an agent needs that trusts them.
    CQXDB::QXTlsInfo Info() const;

  private:
    CertificateFiles Write(const Subject& subject, const Validity& validity);

    TempDir folder_;
    CQXBASE::tls::authority::Authority authority_;
    std::string ca_;
    int count_ = 0;
};

}  // namespace qxdb_test
