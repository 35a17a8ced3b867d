#include "tls/names.h"

#include <array>
#include <cstddef>
#include <ctime>
#include <memory>

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include "util/ascii.h"
#include "util/printable.h"

namespace CQXBASE::tls {
namespace {

constexpr char kDigits[] = "0123456789abcdef";

std::string AddressText(const ASN1_OCTET_STRING& address) {
    const unsigned char* const bytes = ASN1_STRING_get0_data(&address);
    const int length = ASN1_STRING_length(&address);
    std::string text;
    if (length == 4) {
        for (int i = 0; i < length; ++i) {
            text += (i == 0 ? "" : ".") + std::to_string(bytes[i]);
        }
        return text;
    }
    for (int i = 0; i < length; ++i) {
        text += i != 0 && i % 2 == 0 ? ":" : "";
        text += {kDigits[bytes[i] >> 4], kDigits[bytes[i] & 15]};
    }
    return text;
}

}  // namespace

std::string NameText(const X509_name_st& name) {
    const std::unique_ptr<BIO, decltype(&BIO_free)> out(BIO_new(BIO_s_mem()), BIO_free);
    if (out == nullptr ||
        X509_NAME_print_ex(out.get(), &name, 0,
                           (XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB & ~XN_FLAG_SPC_EQ)) < 0) {
        return {};
    }
    char* text = nullptr;
    const long length = BIO_get_mem_data(out.get(), &text);
    return length > 0 ? PrintableUtf8({text, static_cast<std::size_t>(length)}) : std::string();
}

std::string TimeText(const ASN1_TIME& time) {
    std::tm parts{};
    std::array<char, 40> text{};
    if (ASN1_TIME_to_tm(&time, &parts) != 1 ||
        std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S UTC", &parts) == 0) {
        return "an unknown time";
    }
    return text.data();
}

std::string HostsText(const X509& certificate) {
    const std::unique_ptr<GENERAL_NAMES, decltype(&GENERAL_NAMES_free)> names(
        static_cast<GENERAL_NAMES*>(
            X509_get_ext_d2i(&certificate, NID_subject_alt_name, nullptr, nullptr)),
        GENERAL_NAMES_free);
    std::string all;
    for (int i = 0; names != nullptr && i < sk_GENERAL_NAME_num(names.get()); ++i) {
        int kind = 0;
        const void* const value =
            GENERAL_NAME_get0_value(sk_GENERAL_NAME_value(names.get(), i), &kind);
        std::string one;
        if (kind == GEN_DNS) {
            const auto& name = *static_cast<const ASN1_STRING*>(value);
            one = PrintableUtf8({reinterpret_cast<const char*>(ASN1_STRING_get0_data(&name)),
                                 static_cast<std::size_t>(ASN1_STRING_length(&name))});
        } else if (kind == GEN_IPADD) {
            one = AddressText(*static_cast<const ASN1_OCTET_STRING*>(value));
        }
        all += (all.empty() || one.empty() ? "" : ", ") + one;
    }
    return all.empty() ? "nobody" : all;
}

std::string FingerprintText(const X509& certificate) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned length = 0;
    if (X509_digest(&certificate, EVP_sha256(), digest.data(), &length) != 1) {
        return "unknown";
    }
    std::string text;
    for (unsigned i = 0; i < length; ++i) {
        text += i != 0 ? ":" : "";
        text += {kDigits[digest[i] >> 4], kDigits[digest[i] & 15]};
    }
    return UpperAscii(text);
}

}  // namespace CQXBASE::tls
