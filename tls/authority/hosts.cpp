#include "tls/authority/hosts.h"

#include <algorithm>
#include <cstddef>
#include <memory>

#include <openssl/asn1.h>
#include <openssl/x509v3.h>

#include "tls/tls_error.h"
#include "util/ascii.h"

namespace CQXBASE::tls::authority {
namespace {

constexpr std::size_t kLongestName = 253;
constexpr std::size_t kLongestLabel = 63;

bool IsLabel(const std::string& label) {
    return !label.empty() && label.size() <= kLongestLabel && label.front() != '-' &&
           label.back() != '-' && std::all_of(label.begin(), label.end(), [](char c) {
               return IsAsciiLetter(c) || IsAsciiDigit(c) || c == '-' || c == '_';
           });
}

/// What ends in a number is an address, or a mistyped one.
bool IsName(const std::string& name) {
    std::string label;
    for (std::size_t begin = 0; begin <= name.size(); begin += label.size() + 1) {
        label = name.substr(begin, name.find('.', begin) - begin);
        if (!IsLabel(label)) {
            return false;
        }
    }
    return name.size() <= kLongestName && !std::all_of(label.begin(), label.end(), IsAsciiDigit);
}

}  // namespace

bool IsAddress(const std::string& host) {
    if (host.find_first_not_of("0123456789abcdefABCDEF.:") != std::string::npos) {
        return false;  // OpenSSL would skip blanks
    }
    ForgetErrors();
    const std::unique_ptr<ASN1_OCTET_STRING, decltype(&ASN1_OCTET_STRING_free)> address(
        a2i_IPADDRESS(host.c_str()), ASN1_OCTET_STRING_free);
    return address != nullptr;
}

bool IsHost(const std::string& host) {
    const std::string wildcard = "*.";
    if (host.rfind(wildcard, 0) == 0) {
        // For all hosts of a top level domain no client would take it.
        const std::string domain = host.substr(wildcard.size());
        return IsName(domain) && domain.find('.') != std::string::npos;
    }
    return IsAddress(host) || IsName(host);
}

}  // namespace CQXBASE::tls::authority
