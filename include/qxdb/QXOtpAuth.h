// One-time-password authentication.
#pragma once

#include <cstdint>
#include <string>

#include <qxdb/Export.h>
#include <qxdb/QXIOBase.h>

namespace CQXDB {

class QXOtpAuth {
  public:
    /// The record that carries a one-time password to the application server.
    class QXDB_AGENT_API OtpAuth_Data : public CQXBASE::QXIOBase {
      public:
        std::uint32_t kind;  ///< which kind of password; its meaning is the server's
        std::string first;   ///< bytes; they travel as they are
        std::string second;  ///< the same

        OtpAuth_Data(std::uint32_t newKind, const std::string& newFirst,
                     const std::string& newSecond);

        int toCDR(ACE_OutputCDR& out) const override;
        int fromCDR(ACE_InputCDR& in) override;
        std::size_t size() override;
    };

    std::uint32_t kind;  ///< the kind of password in use; 0 until set

    QXDB_AGENT_API QXOtpAuth();
    QXOtpAuth(const QXOtpAuth&) = default;
    QXDB_AGENT_API QXOtpAuth& operator=(const QXOtpAuth& other);
    QXDB_AGENT_API ~QXOtpAuth();
};

}  // namespace CQXDB
