#include "server/body_cipher.h"

#include <new>
#include <utility>

#include <Poco/Exception.h>

#include "transport/frame_cipher.h"

namespace CQXSERVER {
namespace {

constexpr std::size_t kBlock = 16;
constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;  ///< OpenSSL counts bytes with an int

void Require(int result, const char* what) {
    if (result != 1) {
        throw Poco::IOException(what);
    }
}

template <class Context>
Context* NotNull(Context* context) {
    if (context == nullptr) {
        throw std::bad_alloc();
    }
    return context;
}

const unsigned char* Bytes(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace

BodyCipher::BodyCipher() : sm4_(EVP_CIPHER_fetch(nullptr, "SM4-CBC", nullptr)) {
    const Poco::Crypto::CipherKey key = CQXBASE::DeriveFrameKey();
    for (const Direction direction : {Direction::Decipher, Direction::Encipher}) {
        const int index = static_cast<int>(direction);
        keyed_[index].reset(NotNull(EVP_CIPHER_CTX_new()));
        Require(EVP_CipherInit_ex2(keyed_[index].get(), sm4_.get(), key.getKey().data(),
                                   key.getIV().data(), index, nullptr),
                "the cipher can't be set up");
    }
}

std::string BodyCipher::Encipher(std::string_view plain) const {
    return Run(Direction::Encipher, plain);
}

std::string BodyCipher::Decipher(std::string_view cipherText) const {
    return Run(Direction::Decipher, cipherText);
}

BodyCipher::Stream::Stream(const BodyCipher& cipher) : context_(NotNull(EVP_CIPHER_CTX_new())) {
    Require(EVP_CIPHER_CTX_copy(context_.get(),
                                cipher.keyed_[static_cast<int>(Direction::Encipher)].get()),
            "the cipher can't be set up");
}

void BodyCipher::Stream::Add(std::string_view plain) {
    while (!plain.empty()) {
        const std::string_view piece = plain.substr(0, kMostAtOnce);
        const std::size_t start = cipherText_.size();
        cipherText_.resize(start + piece.size() + kBlock);
        int count = 0;
        Require(EVP_EncryptUpdate(context_.get(),
                                  reinterpret_cast<unsigned char*>(cipherText_.data() + start),
                                  &count, Bytes(piece), static_cast<int>(piece.size())),
                "a body can't be ciphered");
        cipherText_.resize(start + static_cast<std::size_t>(count));
        plain.remove_prefix(piece.size());
    }
}

std::string BodyCipher::Stream::Finish() {
    const std::size_t start = cipherText_.size();
    cipherText_.resize(start + kBlock);
    int count = 0;
    Require(
        EVP_EncryptFinal_ex(context_.get(),
                            reinterpret_cast<unsigned char*>(cipherText_.data() + start), &count),
        "no whole body");
    cipherText_.resize(start + static_cast<std::size_t>(count));
    return std::move(cipherText_);
}

std::string BodyCipher::Run(Direction direction, std::string_view input) const {
    const std::unique_ptr<EVP_CIPHER_CTX, Free> context(NotNull(EVP_CIPHER_CTX_new()));
    Require(EVP_CIPHER_CTX_copy(context.get(), keyed_[static_cast<int>(direction)].get()),
            "the cipher can't be set up");
    std::string output(input.size() + kBlock, '\0');
    auto* const begin = reinterpret_cast<unsigned char*>(output.data());
    unsigned char* end = begin;
    int count = 0;
    while (!input.empty()) {
        const std::string_view piece = input.substr(0, kMostAtOnce);
        Require(EVP_CipherUpdate(context.get(), end, &count, Bytes(piece),
                                 static_cast<int>(piece.size())),
                "a body can't be ciphered");
        end += count;
        input.remove_prefix(piece.size());
    }
    Require(EVP_CipherFinal_ex(context.get(), end, &count), "no whole body");
    output.resize(static_cast<std::size_t>(end + count - begin));
    return output;
}

}  // namespace CQXSERVER
