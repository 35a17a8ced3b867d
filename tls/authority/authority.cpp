#include "tls/authority/authority.h"

#include <new>

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <qxdb/QXTlsInfo.h>

#include "tls/authority/hosts.h"
#include "tls/tls_error.h"
#include "util/text.h"

namespace CQXBASE::tls::authority {
namespace {

using Bio = std::unique_ptr<BIO, decltype(&BIO_free)>;

constexpr int kSerialBits = 128;
constexpr long kVersion3 = 2;

[[noreturn]] void Fail(const std::string& what) {
    const std::string reason = TakeErrors();
    const std::string text = what + (reason.empty() ? "" : ": " + reason);
    throw TlsError({CQXDB::QXTLS_BAD_SETTINGS, Utf8ToWide(text)});
}

void Require(bool done) {
    if (!done) {
        Fail("a certificate can't be made");
    }
}

Bio NewMemory() {
    Bio memory(BIO_new(BIO_s_mem()), BIO_free);
    Require(memory != nullptr);
    return memory;
}

std::string TextOf(const Bio& memory) {
    char* text = nullptr;
    const long length = BIO_get_mem_data(memory.get(), &text);
    return {text, static_cast<std::size_t>(length)};
}

Bio Open(const std::string& file) {
    ForgetErrors();
    Bio bio(BIO_new_file(file.c_str(), "r"), BIO_free);
    if (bio == nullptr) {
        Fail("'" + file + "' can't be read");
    }
    return bio;
}

void SetSerial(X509& certificate) {
    const std::unique_ptr<BIGNUM, decltype(&BN_free)> number(BN_new(), BN_free);
    Require(number != nullptr &&
            BN_rand(number.get(), kSerialBits, BN_RAND_TOP_ANY, BN_RAND_BOTTOM_ANY) == 1 &&
            BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(&certificate)) != nullptr);
}

/// An unsigned certificate with a new key.
Issued Begin(const std::string& name, const Validity& validity) {
    ForgetErrors();
    Issued made{{X509_new(), X509_free}, {EVP_EC_gen("P-256"), EVP_PKEY_free}};
    X509* const certificate = made.certificate.get();
    Require(certificate != nullptr && made.key != nullptr);
    Require(X509_set_version(certificate, kVersion3) == 1);
    SetSerial(*certificate);
    const auto seconds = [](std::chrono::seconds time) { return static_cast<long>(time.count()); };
    Require(X509_gmtime_adj(X509_getm_notBefore(certificate), seconds(validity.from)) != nullptr);
    Require(X509_gmtime_adj(X509_getm_notAfter(certificate), seconds(validity.to)) != nullptr);
    Require(X509_set_pubkey(certificate, made.key.get()) == 1);
    Require(X509_NAME_add_entry_by_NID(X509_get_subject_name(certificate), NID_commonName,
                                       MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char*>(name.c_str()),
                                       static_cast<int>(name.size()), -1, 0) == 1);
    return made;
}

/// `value` in the words of OpenSSL's configuration files.
void Extend(X509& certificate, X509& issuer, int what, const std::string& value) {
    X509V3_CTX context{};
    X509V3_set_ctx(&context, &issuer, &certificate, nullptr, nullptr, 0);
    X509V3_set_ctx_nodb(&context);
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
        X509V3_EXT_conf_nid(nullptr, &context, what, value.c_str()), X509_EXTENSION_free);
    Require(extension != nullptr && X509_add_ext(&certificate, extension.get(), -1) == 1);
}

void Sign(X509& certificate, X509& issuer, EVP_PKEY& key) {
    Require(X509_set_issuer_name(&certificate, X509_get_subject_name(&issuer)) == 1);
    Require(X509_sign(&certificate, &key, EVP_sha256()) > 0);
}

std::string AlternativeNames(const std::vector<std::string>& hosts) {
    std::string all;
    for (const std::string& each : hosts) {
        if (!IsHost(each)) {
            Fail("'" + each + "' is neither a host name nor an IP address");
        }
        all += (all.empty() ? "" : ",") + std::string(IsAddress(each) ? "IP:" : "DNS:") + each;
    }
    return all;
}

}  // namespace

std::string Issued::CertificatePem() const {
    const Bio memory = NewMemory();
    Require(PEM_write_bio_X509(memory.get(), certificate.get()) == 1);
    return TextOf(memory);
}

std::string Issued::KeyPem() const {
    const Bio memory = NewMemory();
    Require(PEM_write_bio_PrivateKey(memory.get(), key.get(), nullptr, nullptr, 0, nullptr,
                                     nullptr) == 1);
    return TextOf(memory);
}

Authority Authority::Make(const std::string& name, const Validity& validity) {
    Issued own = Begin(name, validity);
    X509& certificate = *own.certificate;
    Extend(certificate, certificate, NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
    Extend(certificate, certificate, NID_key_usage, "critical,keyCertSign,cRLSign");
    Extend(certificate, certificate, NID_subject_key_identifier, "hash");
    Sign(certificate, certificate, *own.key);
    return Authority(std::move(own));
}

Authority Authority::Load(const std::string& certificateFile, const std::string& keyFile) {
    // Without an answer OpenSSL would ask at the terminal.
    const auto noPassword = [](char*, int, int, void*) { return 0; };
    Issued own{
        {PEM_read_bio_X509(Open(certificateFile).get(), nullptr, noPassword, nullptr), X509_free},
        {nullptr, EVP_PKEY_free}};
    if (own.certificate == nullptr || X509_check_ca(own.certificate.get()) != 1) {
        Fail("'" + certificateFile + "' is not the certificate of an authority");
    }
    own.key.reset(PEM_read_bio_PrivateKey(Open(keyFile).get(), nullptr, noPassword, nullptr));
    if (own.key == nullptr || X509_check_private_key(own.certificate.get(), own.key.get()) != 1) {
        Fail("'" + keyFile + "' is not the key of '" + certificateFile + "'");
    }
    return Authority(std::move(own));
}

Issued Authority::Issue(const Subject& subject, const Validity& validity) const {
    Issued made = Begin(subject.name, validity);
    X509& certificate = *made.certificate;
    X509& issuer = *own_.certificate;
    Extend(certificate, issuer, NID_basic_constraints, "critical,CA:FALSE");
    Extend(certificate, issuer, NID_key_usage, "critical,digitalSignature");
    Extend(certificate, issuer, NID_ext_key_usage,
           subject.purpose == Purpose::Server ? "serverAuth" : "clientAuth");
    Extend(certificate, issuer, NID_subject_key_identifier, "hash");
    Extend(certificate, issuer, NID_authority_key_identifier, "keyid:always");
    if (!subject.hosts.empty()) {
        Extend(certificate, issuer, NID_subject_alt_name, AlternativeNames(subject.hosts));
    }
    Sign(certificate, issuer, *own_.key);
    return made;
}

std::chrono::seconds Authority::TimeLeft() const {
    constexpr int kDay = 86400;
    int days = 0;
    int seconds = 0;
    ForgetErrors();
    Require(ASN1_TIME_diff(&days, &seconds, nullptr, X509_get0_notAfter(own_.certificate.get())) ==
            1);
    return std::chrono::seconds(seconds) + std::chrono::seconds(kDay) * days;
}

}  // namespace CQXBASE::tls::authority
