// The proxy through which a client reaches the application server.
#pragma once

#include <cstdint>
#include <string>

#include <qxdb/QXEnums.h>
#include <qxdb/QXIOBase.h>

namespace CQXDB {

class QXDB_OBJECTS_API QXProxyInfo : public CQXBASE::QXIOBase {
  public:
    std::int32_t kind = QXPROXY_NONE;  ///< a QXProxyKind
    std::wstring host;
    std::int32_t port = 0;  ///< 1 to 65535
    std::wstring user;      ///< empty: no credentials are offered
    std::wstring password;

    int toCDR(ACE_OutputCDR& out) const override;
    int fromCDR(ACE_InputCDR& in) override;
    std::size_t size() override;
};

}  // namespace CQXDB
