// The numbers that say which message a frame carries.
#pragma once

#include <cstdint>

namespace CQXBASE {

enum TypeCode : std::uint32_t {
    kErrorReply = 0,     ///< reply to any request that failed
    kExecute = 1,        ///< run one command
    kExecuteList = 2,    ///< run a command list
    kQuery = 3,          ///< query with one command
    kSendText = 4,       ///< a text for the server
    kQueryList = 5,      ///< query with a command list
    kHandshake = 6,      ///< is the session alive
    kBatchQuery = 7,     ///< a recordset for each command of a list
    kOtpData = 8,        ///< one-time-password data
    kCancel = 20,        ///< end what runs for the session of this token
    kVirtualLogin = 28,  ///< login that also tells the database's kind and driver
    kVirtualLogout = 29,
    kLogin = 30,
    kStatusReply = 31,
    kRecordsetReply = 32,
    kResultListReply = 33,
    kSessionReply = 34,
    kUnknownCode = 40,  ///< never sent: stands for a received code that is none of these
};

/// The record that a message's body holds.
enum class BodyClass {
    None,  ///< the code is unknown
    SimpleMsg,
    OneString,
    SesInfo,
    OtpAuthData,
    Command,
    CommandList,
    Recordset,
    RsList,
};

/// The record that belongs to a code; BodyClass::None for an unknown one.
BodyClass BodyOf(std::uint32_t code) noexcept;

/// The code whose record answers `code`; an unknown code comes back unchanged.
std::uint32_t ReplyCode(std::uint32_t code) noexcept;

/// The record that a successful reply to this request holds.
BodyClass ExpectedReply(std::uint32_t requestCode) noexcept;

/// True for the codes that a client may send.
bool IsRequest(std::uint32_t code) noexcept;

}  // namespace CQXBASE
