#include "tls/wire.h"

#include <memory>
#include <new>

namespace CQXBASE::tls {
namespace {

Wire& WireOf(BIO* bio) {
    return *static_cast<Wire*>(BIO_get_data(bio));
}

int Read(BIO* bio, char* bytes, std::size_t count, std::size_t* done) {
    BIO_clear_retry_flags(bio);
    const std::ptrdiff_t got = WireOf(bio).ReadWire(bytes, count);
    if (got == Wire::kLater) {
        BIO_set_retry_read(bio);
    }
    *done = got > 0 ? static_cast<std::size_t>(got) : 0;
    return got > 0 ? 1 : 0;
}

int Write(BIO* bio, const char* bytes, std::size_t count, std::size_t* done) {
    BIO_clear_retry_flags(bio);
    const std::ptrdiff_t taken = WireOf(bio).WriteWire(bytes, count);
    if (taken == Wire::kLater) {
        BIO_set_retry_write(bio);
    }
    *done = taken > 0 ? static_cast<std::size_t>(taken) : 0;
    return taken > 0 ? 1 : -1;
}

long Control(BIO* /*bio*/, int command, long /*number*/, void* /*pointer*/) {
    return command == BIO_CTRL_FLUSH ? 1 : 0;
}

using Method = std::unique_ptr<BIO_METHOD, decltype(&BIO_meth_free)>;

Method NewMethod() {
    Method method(BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "wire"), BIO_meth_free);
    if (method == nullptr) {
        throw std::bad_alloc();
    }
    BIO_meth_set_read_ex(method.get(), Read);
    BIO_meth_set_write_ex(method.get(), Write);
    BIO_meth_set_ctrl(method.get(), Control);
    return method;
}

}  // namespace

BIO* NewBio(Wire& wire) noexcept {
    try {
        static const Method kMethod = NewMethod();  // tried again by the next call when it fails
        BIO* const bio = BIO_new(kMethod.get());
        if (bio != nullptr) {
            BIO_set_data(bio, &wire);
            BIO_set_init(bio, 1);
        }
        return bio;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace CQXBASE::tls
