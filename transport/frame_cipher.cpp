#include "transport/frame_cipher.h"

#include <algorithm>
#include <atomic>
#include <new>

#include <Poco/Crypto/CipherKey.h>
#include <Poco/Crypto/OpenSSLInitializer.h>
#include <Poco/Exception.h>
#include <openssl/objects.h>

#include "platform/sm4_vector.h"

namespace CQXBASE {
namespace {

constexpr char kPassphrase[] = "qmvdkarlop\x0b\x0c";
constexpr char kSalt[] = "Few ripe figs";
constexpr int kIterations = 2000;
constexpr const char* kMissing = "OpenSSL offers no SM4 or no MD5";
constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;  ///< OpenSSL counts bytes with an int

const unsigned char* Bytes(const char* text) noexcept {
    return reinterpret_cast<const unsigned char*>(text);
}

unsigned char* Bytes(char* text) noexcept {
    return reinterpret_cast<unsigned char*>(text);
}

void Require(bool done, const char* what) {
    if (!done) {
        throw Poco::IOException(what);
    }
}

/// Hands `text` piecewise to OpenSSL; returns how many bytes it wrote.
std::size_t Update(EVP_CIPHER_CTX* context, std::string_view text, char* output, const char* what) {
    const char* const begin = output;
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, kMostAtOnce);
        int count = 0;
        Require(EVP_CipherUpdate(context, Bytes(output), &count, Bytes(piece.data()),
                                 static_cast<int>(piece.size())) == 1,
                what);
        output += count;
        text.remove_prefix(piece.size());
    }
    return static_cast<std::size_t>(output - begin);
}

/// Length of the padding at the end of a deciphered body; 0 when it is none.
std::size_t PaddingOf(std::string_view padded) noexcept {
    const auto count = static_cast<unsigned char>(padded.back());
    if (count == 0 || count > FrameCipher::kBlock) {
        return 0;
    }
    const std::string_view padding = padded.substr(padded.size() - count);
    return padding.find_first_not_of(padding.back()) == std::string_view::npos ? count : 0;
}

/// Each key sets up POCO's use of OpenSSL when it is the only one there and tears it down when it
/// was the last; POCO counts them, but does neither under a lock: two threads could free the same
/// memory. This one stays.
void KeepPocoSetUp() {
    static const bool kept = (Poco::Crypto::OpenSSLInitializer::initialize(), true);
    static_cast<void>(kept);
}

/// A name by which OpenSSL finds MD5 as it was fetched once. By its own name it finds one that is
/// to be fetched again for each of the thousands of hashes. The digest stays for the process:
/// somebody may be looking it up.
const char* DigestName() {
    constexpr const char* kName = "qxdb-frame-key-md5";
    static const EVP_MD* const md5 = [] {
        EVP_MD* const fetched = EVP_MD_fetch(nullptr, "MD5", nullptr);
        // An OpenSSL restricted to approved algorithms has none, and POCO would go on without it.
        if (fetched == nullptr) {
            throw Poco::NotImplementedException(kMissing);
        }
        if (OBJ_NAME_add(kName, OBJ_NAME_TYPE_MD_METH, reinterpret_cast<const char*>(fetched)) !=
            1) {
            EVP_MD_free(fetched);
            throw std::bad_alloc();
        }
        return fetched;
    }();
    return md5 != nullptr ? kName : "md5";
}

std::atomic<bool> keeps{QXDB_KEEP_FRAME_KEY != 0};

constexpr const char* kNoCipherText = "incomplete ciphertext";
constexpr const char* kNoPlainText = "incomplete plaintext";

}  // namespace

FrameCipher::FrameCipher() : sm4_(EVP_CIPHER_fetch(nullptr, "SM4-CBC", nullptr)) {
    if (sm4_ == nullptr) {
        throw Poco::NotImplementedException(kMissing);
    }
    KeepPocoSetUp();
    const Poco::Crypto::CipherKey key("sm4", kPassphrase, kSalt, kIterations, DigestName());
    std::copy_n(key.getKey().begin(), kBlock, key_.begin());
    std::copy_n(key.getIV().begin(), kBlock, vector_.begin());
}

void FrameCipher::Keep(bool keep) noexcept {
    keeps = keep;
}

bool FrameCipher::Kept() noexcept {
    return keeps;
}

std::shared_ptr<const FrameCipher> FrameCipher::OfAFrame() {
    if (!Kept()) {
        return std::make_shared<const FrameCipher>();
    }
    static const std::shared_ptr<const FrameCipher> kept = std::make_shared<const FrameCipher>();
    return kept;
}

FrameCipher::Context FrameCipher::NewContext(Direction direction,
                                             const unsigned char* previous) const {
    Context context(EVP_CIPHER_CTX_new());
    if (context == nullptr) {
        throw std::bad_alloc();
    }
    Require(EVP_CipherInit_ex2(context.get(), sm4_.get(), key_.data(), previous,
                               static_cast<int>(direction), nullptr) == 1,
            "the cipher can't be set up");
    return context;
}

std::string FrameCipher::Encipher(std::string_view plain) const {
    Stream stream(*this);
    stream.Add(plain);
    return stream.Finish();
}

std::string FrameCipher::Decipher(std::string_view cipherText, std::string begun) const {
    Require(!cipherText.empty() && cipherText.size() % kBlock == 0, kNoPlainText);
    DecipherOn(cipherText, begun);
    const std::size_t padding = PaddingOf(begun);
    Require(padding != 0, kNoPlainText);
    begun.resize(begun.size() - padding);
    return begun;
}

void FrameCipher::DecipherOn(std::string_view arrived, std::string& plain) const {
    const std::size_t start = plain.size();
    const std::size_t end = arrived.size() / kBlock * kBlock;
    if (start < end) {
        plain.resize(end);
        DecipherBlocks(start == 0 ? vector_.data() : Bytes(arrived.data() + start - kBlock),
                       arrived.data() + start, plain.data() + start, end - start);
    }
}

void FrameCipher::DecipherBlocks(const unsigned char* previous, const char* cipherText, char* plain,
                                 std::size_t length) const {
    if (platform::DecipherSm4Cbc(key_.data(), previous, cipherText, plain, length)) {
        return;
    }
    const Context context = NewContext(Direction::Decipher, previous);
    EVP_CIPHER_CTX_set_padding(context.get(), 0);
    Require(Update(context.get(), {cipherText, length}, plain, kNoPlainText) == length,
            kNoPlainText);
}

FrameCipher::Stream::Stream(const FrameCipher& cipher)
    : context_(cipher.NewContext(Direction::Encipher, cipher.vector_.data())) {}

void FrameCipher::Stream::Add(std::string_view plain) {
    const std::size_t start = cipherText_.size();
    cipherText_.resize(start + plain.size() + kBlock);
    cipherText_.resize(start +
                       Update(context_.get(), plain, cipherText_.data() + start, kNoCipherText));
}

std::string FrameCipher::Stream::Finish() {
    const std::size_t start = cipherText_.size();
    cipherText_.resize(start + kBlock);
    int count = 0;
    Require(EVP_CipherFinal_ex(context_.get(), Bytes(cipherText_.data() + start), &count) == 1 &&
                count == static_cast<int>(kBlock),
            kNoCipherText);
    return Take();
}

}  // namespace CQXBASE
