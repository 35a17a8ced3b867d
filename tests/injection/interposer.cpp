// Stands between a process and the C library: counts its calls and lets the planned ones fail.
// Loaded before the C library, by linking or by LD_PRELOAD.
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <malloc.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include "tests/injection/fault_plan.h"

#define INTERPOSED extern "C" __attribute__((visibility("default")))

// The C library's own names of what stands behind its allocation functions.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace qxdb_test {
namespace {

FaultPlan ownPlan;
FaultPlan* plan = &ownPlan;

__attribute__((constructor)) void MapSharedPlan() {
    const char* const path = std::getenv(kFaultPlanVariable);
    const int file = path != nullptr ? open(path, O_RDWR | O_CLOEXEC) : -1;
    if (file != -1) {
        void* const shared =
            mmap(nullptr, sizeof(FaultPlan), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        if (shared != MAP_FAILED) {
            static_cast<FaultPlan*>(shared)->live = ownPlan.live.load();
            plan = static_cast<FaultPlan*>(shared);
        }
        close(file);
    }
}

/// Of the calls inside of one key derivation, which makes thousands that are all alike, the first
/// ones stand for all, unless every one is asked for.
constexpr long kCallsOfADerivation = 40;
const bool everyCall = std::getenv("QXDB_EVERY_CALL") != nullptr;
thread_local long derivationCalls = -1;  ///< -1 outside of one

bool IsRepetition() {
    return derivationCalls != -1 && ++derivationCalls > kCallsOfADerivation && !everyCall;
}

int ThreadNumber() {
    return static_cast<int>(syscall(SYS_gettid));
}

constexpr bool kOnce = true;
constexpr bool kParts = true;

/// Counts a call; true when it is one that fails. Not inlined: the place for a breakpoint.
__attribute__((noinline)) bool Fails(Calls calls, bool once = false) {
    if (calls == Calls::None || plan->calls.load() != static_cast<int>(calls)) {
        return false;
    }
    if (calls == Calls::Allocations && IsRepetition()) {
        return false;
    }
    const int thread = plan->thread.load();
    if (thread != 0 && thread != ThreadNumber()) {
        return false;
    }
    const long number = ++plan->seen;
    const long first = plan->first.load();
    if (number != first && (number < first || once || plan->lasting.load() == 0)) {
        return false;
    }
    ++plan->failed;
    return true;
}

bool IsShort() {
    return plan->error.load() == kShortTransfer;
}

int Fail() {
    errno = plan->error.load();
    return -1;
}

/// The next definition of a function, which is the C library's.
#define NEXT(name)                                                                              \
    [] {                                                                                        \
        static auto* const next = reinterpret_cast<decltype(&(name))>(dlsym(RTLD_NEXT, #name)); \
        return next;                                                                            \
    }()

bool IsKind(int descriptor, mode_t kind) {
    const int error = errno;
    struct stat status {};
    const bool is = fstat(descriptor, &status) == 0 && (status.st_mode & S_IFMT) == kind;
    errno = error;
    return is;
}

void* Counted(void* block) {
    plan->live += block != nullptr ? 1 : 0;
    return block;
}

void* OutOfMemory() {
    errno = ENOMEM;
    return nullptr;
}

/// A transfer of `count` bytes, or of as many parts, that may fail or come back short, with half of
/// the bytes or the first part alone; `call` takes the count.
template <class Call>
ssize_t Transfer(Calls calls, std::size_t count, Call call, bool parts = false) {
    if (!Fails(calls)) {
        return call(count);
    }
    // One byte can't be halved: the call succeeds.
    return IsShort() ? call(count > 1 ? (parts ? 1 : count / 2) : count) : Fail();
}

/// A call that transfers nothing; being short means nothing to it.
template <class Call>
int Plain(Calls calls, Call call, bool once = false) {
    return Fails(calls, once) && !IsShort() ? Fail() : call();
}

Calls KindOf(int descriptor) {
    return IsKind(descriptor, S_IFSOCK)  ? Calls::Sockets
           : IsKind(descriptor, S_IFREG) ? Calls::Disk
                                         : Calls::None;
}

}  // namespace

INTERPOSED FaultPlan* QxdbOwnFaultPlan() {
    return plan;
}

}  // namespace qxdb_test

using namespace qxdb_test;

INTERPOSED void* malloc(std::size_t size) {
    return Fails(Calls::Allocations) ? OutOfMemory() : Counted(__libc_malloc(size));
}
INTERPOSED void* calloc(std::size_t count, std::size_t size) {
    return Fails(Calls::Allocations) ? OutOfMemory() : Counted(__libc_calloc(count, size));
}
INTERPOSED void* realloc(void* block, std::size_t size) {
    if (block == nullptr) {
        return malloc(size);
    }
    if (size != 0 && Fails(Calls::Allocations)) {
        return OutOfMemory();
    }
    void* const moved = __libc_realloc(block, size);
    plan->live -= moved == nullptr && size == 0 ? 1 : 0;
    return moved;
}
INTERPOSED void* memalign(std::size_t alignment, std::size_t size) {
    return Fails(Calls::Allocations) ? OutOfMemory() : Counted(__libc_memalign(alignment, size));
}
INTERPOSED void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return memalign(alignment, size);
}
INTERPOSED int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    void* const made = memalign(alignment, size);
    if (made == nullptr) {
        return ENOMEM;
    }
    *block = made;
    return 0;
}
INTERPOSED void free(void* block) {
    plan->live -= block != nullptr ? 1 : 0;
    __libc_free(block);
}

INTERPOSED int socket(int domain, int type, int protocol) {
    return Plain(Calls::Sockets, [&] { return NEXT(socket)(domain, type, protocol); });
}
INTERPOSED int connect(int descriptor, const sockaddr* address, socklen_t length) {
    return Plain(Calls::Sockets, [&] { return NEXT(connect)(descriptor, address, length); });
}
INTERPOSED int accept(int descriptor, sockaddr* address, socklen_t* length) {
    // While accepting fails nobody can be answered: it fails for a moment only.
    return Plain(
        Calls::Sockets, [&] { return NEXT(accept)(descriptor, address, length); }, kOnce);
}
INTERPOSED int epoll_ctl(int set, int operation, int descriptor, epoll_event* event) noexcept {
    // The other operations only change what is there.
    const Calls kind = operation == EPOLL_CTL_ADD ? KindOf(descriptor) : Calls::None;
    return Plain(kind, [&] { return NEXT(epoll_ctl)(set, operation, descriptor, event); });
}
INTERPOSED int setsockopt(int descriptor, int level, int name, const void* value,
                          socklen_t length) noexcept {
    return Plain(Calls::Sockets,
                 [&] { return NEXT(setsockopt)(descriptor, level, name, value, length); });
}
INTERPOSED int getsockopt(int descriptor, int level, int name, void* value,
                          socklen_t* length) noexcept {
    return Plain(Calls::Sockets,
                 [&] { return NEXT(getsockopt)(descriptor, level, name, value, length); });
}
INTERPOSED int shutdown(int descriptor, int how) noexcept {
    return Plain(Calls::Sockets, [&] { return NEXT(shutdown)(descriptor, how); });
}
INTERPOSED int poll(pollfd* entries, nfds_t count, int timeout) {
    return Plain(Calls::Sockets, [&] { return NEXT(poll)(entries, count, timeout); });
}
INTERPOSED int select(int count, fd_set* reads, fd_set* writes, fd_set* errors, timeval* timeout) {
    return Plain(Calls::Sockets,
                 [&] { return NEXT(select)(count, reads, writes, errors, timeout); });
}
INTERPOSED ssize_t send(int descriptor, const void* bytes, std::size_t count, int flags) {
    return Transfer(Calls::Sockets, count,
                    [&](std::size_t some) { return NEXT(send)(descriptor, bytes, some, flags); });
}
INTERPOSED ssize_t sendmsg(int descriptor, const msghdr* message, int flags) {
    return Transfer(
        Calls::Sockets, message->msg_iovlen,
        [&](std::size_t some) {
            msghdr shorter = *message;
            shorter.msg_iovlen = some;
            return NEXT(sendmsg)(descriptor, &shorter, flags);
        },
        kParts);
}
INTERPOSED ssize_t recv(int descriptor, void* bytes, std::size_t count, int flags) {
    return Transfer(Calls::Sockets, count,
                    [&](std::size_t some) { return NEXT(recv)(descriptor, bytes, some, flags); });
}
INTERPOSED ssize_t read(int descriptor, void* bytes, std::size_t count) {
    const Calls kind = KindOf(descriptor);
    return kind == Calls::Sockets
               ? Transfer(kind, count,
                          [&](std::size_t some) { return NEXT(read)(descriptor, bytes, some); })
               : NEXT(read)(descriptor, bytes, count);
}
INTERPOSED ssize_t write(int descriptor, const void* bytes, std::size_t count) {
    return Transfer(KindOf(descriptor), count,
                    [&](std::size_t some) { return NEXT(write)(descriptor, bytes, some); });
}
INTERPOSED ssize_t writev(int descriptor, const iovec* parts, int count) {
    return Transfer(
        KindOf(descriptor), static_cast<std::size_t>(count),
        [&](std::size_t some) { return NEXT(writev)(descriptor, parts, static_cast<int>(some)); },
        kParts);
}
INTERPOSED ssize_t pwrite64(int descriptor, const void* bytes, std::size_t count, off64_t at) {
    return Transfer(Calls::Disk, count,
                    [&](std::size_t some) { return NEXT(pwrite64)(descriptor, bytes, some, at); });
}
INTERPOSED int ftruncate64(int descriptor, off64_t length) noexcept {
    return Plain(Calls::Disk, [&] { return NEXT(ftruncate64)(descriptor, length); });
}
INTERPOSED int fdatasync(int descriptor) {
    return Plain(Calls::Disk, [&] { return NEXT(fdatasync)(descriptor); });
}
INTERPOSED int fsync(int descriptor) {
    return Plain(Calls::Disk, [&] { return NEXT(fsync)(descriptor); });
}
INTERPOSED int open64(const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    // Only a file that is made takes space.
    return (flags & O_CREAT) != 0 && access(path, F_OK) != 0
               ? Plain(Calls::Disk, [&] { return NEXT(open64)(path, flags, mode); })
               : NEXT(open64)(path, flags, mode);
}

INTERPOSED int EVP_BytesToKey(const void* cipher, const void* digest, const unsigned char* salt,
                              const unsigned char* bytes, int count, int rounds, unsigned char* key,
                              unsigned char* vector) {
    derivationCalls = 0;
    const int length =
        NEXT(EVP_BytesToKey)(cipher, digest, salt, bytes, count, rounds, key, vector);
    derivationCalls = -1;
    return length;
}
