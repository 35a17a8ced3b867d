// The small records of a session: what logs in, greets, reports a status.
#pragma once

#include <cstdint>
#include <string>

#include <qxdb/QXIOBase.h>

namespace CQXBASE {

/// One string argument of a request.
class QXOneString : public QXIOBase {
  public:
    std::wstring value;

    explicit QXOneString(std::wstring newValue);

    int toCDR(ACE_OutputCDR& out) const override;
    int fromCDR(ACE_InputCDR& in) override;
    std::size_t size() override;
};

/// A text with a code: the handshake, and every status or error reply. The code travels first.
class QXSimpleMsg : public QXIOBase {
  public:
    std::wstring text;
    std::uint32_t code;  ///< 0: done; the bits of a signed number where an error number is negative

    QXSimpleMsg(std::wstring newText, std::uint32_t newCode);

    int toCDR(ACE_OutputCDR& out) const override;
    int fromCDR(ACE_InputCDR& in) override;
    std::size_t size() override;
};

/// The reply to a login.
class QXSesInfo : public QXIOBase {
  public:
    std::uint32_t code = 0;  ///< 0: logged in; otherwise the reason's number, as in QXSimpleMsg
    std::wstring text;       ///< the reason for people
    std::wstring token;      ///< goes with every later command of the session
    std::wstring info;  ///< after a virtual login "type|~|driver" in decimal; otherwise free text

    int toCDR(ACE_OutputCDR& out) const override;
    int fromCDR(ACE_InputCDR& in) override;
    std::size_t size() override;
};

}  // namespace CQXBASE
