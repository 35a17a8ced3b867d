// Makes certificates, for those who have nobody to issue them.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <openssl/types.h>
#include <openssl/x509.h>

namespace CQXBASE::tls::authority {

using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;
using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

/// Counted from now.
struct Validity {
    std::chrono::seconds to{};
    /// An hour back: clocks differ.
    std::chrono::seconds from = -std::chrono::hours(1);
};

enum class Purpose { Server, Client };

struct Subject {
    Purpose purpose = Purpose::Server;
    std::string name;                ///< the common name, UTF-8, of 1 to kLongestName bytes
    std::vector<std::string> hosts;  ///< those for which IsHost is true

    static constexpr std::size_t kLongestName = 64;
};

/// A certificate and its key, which is one of the curve P-256.
struct Issued {
    Certificate certificate;
    Key key;

    std::string CertificatePem() const;
    std::string KeyPem() const;  ///< not encrypted
};

/// Signs certificates. What fails throws TlsError.
class Authority {
  public:
    /// One with a new key, whose certificate it signs itself.
    static Authority Make(const std::string& name, const Validity& validity);
    /// One that was made before. UTF-8 paths of PEM files.
    static Authority Load(const std::string& certificateFile, const std::string& keyFile);

    Issued Issue(const Subject& subject, const Validity& validity) const;

    const Issued& Own() const noexcept { return own_; }
    /// Until its certificate's end; negative behind it.
    std::chrono::seconds TimeLeft() const;

  private:
    explicit Authority(Issued own) : own_(std::move(own)) {}

    Issued own_;
};

}  // namespace CQXBASE::tls::authority
