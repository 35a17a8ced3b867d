// The address of an application server, and the database wanted there.
#pragma once

#include <cstdint>
#include <string>

#include <qxdb/QXIOBase.h>

namespace CQXDB {

class QXDB_OBJECTS_API QXSvrInfo : public CQXBASE::QXIOBase {
  public:
    std::wstring host;
    std::int32_t port = 0;  ///< 1 to 65535
    std::wstring database;  ///< empty: the data source's own

    int toCDR(ACE_OutputCDR& out) const override;
    int fromCDR(ACE_InputCDR& in) override;
    std::size_t size() override;
};

}  // namespace CQXDB
