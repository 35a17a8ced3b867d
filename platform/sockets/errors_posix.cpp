#include <algorithm>
#include <cerrno>
#include <iterator>
#include <netdb.h>

#include <ace/OS_NS_string.h>

#include "platform/sockets/errors.h"

namespace CQXBASE::platform::sockets {
namespace {

struct Numbers {
    int native;
    int winsock;
};

constexpr Numbers kNumbers[] = {
    {EINTR, 10004},           {EACCES, 10013},       {EINVAL, 10022},
    {EMFILE, 10024},          {ENFILE, 10024},       {EAGAIN, 10035},
    {EINPROGRESS, 10036},     {EALREADY, 10037},     {EBADF, 10038},
    {ENOTSOCK, 10038},        {EDESTADDRREQ, 10039}, {EMSGSIZE, 10040},
    {EPROTOTYPE, 10041},      {ENOPROTOOPT, 10042},  {EPROTONOSUPPORT, 10043},
    {ESOCKTNOSUPPORT, 10044}, {EOPNOTSUPP, 10045},   {EPFNOSUPPORT, 10046},
    {EAFNOSUPPORT, 10047},    {EADDRINUSE, 10048},   {EADDRNOTAVAIL, 10049},
    {ENETDOWN, 10050},        {ENETUNREACH, 10051},  {ENETRESET, 10052},
    {ECONNABORTED, 10053},    {ECONNRESET, 10054},   {EPIPE, 10054},
    {ENOBUFS, 10055},         {EISCONN, 10056},      {ENOTCONN, 10057},
    {ESHUTDOWN, 10058},       {ETOOMANYREFS, 10059}, {ETIMEDOUT, 10060},
    {ETIME, 10060},           {ECONNREFUSED, 10061}, {ELOOP, 10062},
    {ENAMETOOLONG, 10063},    {EHOSTDOWN, 10064},    {EHOSTUNREACH, 10065},
    {EAI_NONAME, 11001},      {EAI_AGAIN, 11002},    {EAI_FAIL, 11003},
    {EAI_FAMILY, 10047},
};

}  // namespace

int WinsockNumber(int error) noexcept {
    const auto* row = std::find_if(std::begin(kNumbers), std::end(kNumbers),
                                   [error](const Numbers& n) { return n.native == error; });
    return row == std::end(kNumbers) ? error : row->winsock;
}

std::string SocketErrorText(int error) {
    // ACE hands on a resolver's failure as the resolver's own number, which is negative.
    const char* text = error < 0 ? gai_strerror(error) : ACE_OS::strerror(error);
    return text == nullptr ? std::string() : std::string(text);
}

void ClearLastError() noexcept {
    errno = 0;
}

int LastError() noexcept {
    return errno;
}

void SetNotConnected() noexcept {
    errno = ENOTCONN;
}

void SetTimedOut() noexcept {
    errno = ETIMEDOUT;
}

void SetStaleSocket() noexcept {
    errno = EBADF;
}

}  // namespace CQXBASE::platform::sockets
