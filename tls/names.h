// What stands in certificates, as people read it.
#pragma once

#include <string>

#include <openssl/types.h>

namespace CQXBASE::tls {

/// A distinguished name (X509_NAME, which is a macro of <windows.h>, too) in UTF-8, as
/// "CN=db.example.org, O=Example", fit to be shown.
std::string NameText(const X509_name_st& name);
/// "2026-11-23 20:15:00 UTC".
std::string TimeText(const ASN1_TIME& time);
/// The host names and addresses that the certificate is for, between commas, fit to be shown;
/// "nobody" for none.
std::string HostsText(const X509& certificate);
/// The SHA-256 of the certificate, "0A:1B:...".
std::string FingerprintText(const X509& certificate);

}  // namespace CQXBASE::tls
