#include "server/sessions/password_hash.h"

#include <array>
#include <sstream>
#include <vector>

#include <Poco/NumberParser.h>
#include <Poco/StringTokenizer.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include "server/server_error.h"

namespace CQXSERVER::sessions {
namespace {

constexpr std::size_t kSaltBytes = 16;
constexpr std::size_t kHashBytes = 32;
constexpr std::size_t kMaxMemory = std::size_t{1} << 30U;
using Hash = std::array<unsigned char, kHashBytes>;
using Bytes = std::vector<unsigned char>;

bool Derive(std::string_view password, const Bytes& salt, const ScryptCost& cost, Hash& out) {
    return cost.logRounds < 32 &&
           EVP_PBE_scrypt(password.data(), password.size(), salt.data(), salt.size(),
                          std::uint64_t{1} << cost.logRounds, cost.blockSize, cost.parallel,
                          kMaxMemory, out.data(), out.size()) == 1;
}

std::string ToBase64(const unsigned char* bytes, std::size_t count) {
    std::string text((count + 2) / 3 * 4, '\0');
    // One byte more than the text: the encoder ends it with a NUL, where std::string has its own.
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes, static_cast<int>(count));
    return text;
}

/// Empty unless `text` is Base64 of exactly `count` bytes.
Bytes FromBase64(const std::string& text, std::size_t count) {
    Bytes bytes(text.size() / 4 * 3 + 3);
    const int decoded =
        EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(text.data()),
                        static_cast<int>(text.size()));
    const bool right = decoded >= 0 && static_cast<std::size_t>(decoded) == (count + 2) / 3 * 3;
    bytes.resize(right ? count : 0);
    return bytes;
}

bool ReadCost(const Poco::StringTokenizer& pieces, ScryptCost& cost) {
    return pieces.count() == 6 && pieces[0] == "scrypt" &&
           Poco::NumberParser::tryParseUnsigned(pieces[1], cost.logRounds) &&
           Poco::NumberParser::tryParseUnsigned(pieces[2], cost.blockSize) &&
           Poco::NumberParser::tryParseUnsigned(pieces[3], cost.parallel);
}

}  // namespace

std::string HashPassword(std::string_view password, const ScryptCost& cost) {
    Bytes salt(kSaltBytes);
    Hash hash{};
    if (RAND_bytes(salt.data(), static_cast<int>(salt.size())) != 1 ||
        !Derive(password, salt, cost, hash)) {
        throw OperatorError("the password can't be hashed");
    }
    std::ostringstream text;
    text << "scrypt$" << cost.logRounds << '$' << cost.blockSize << '$' << cost.parallel << '$'
         << ToBase64(salt.data(), salt.size()) << '$' << ToBase64(hash.data(), hash.size());
    return text.str();
}

bool PasswordMatches(std::string_view password, const std::string& stored) {
    const Poco::StringTokenizer pieces(stored, "$");
    ScryptCost cost;
    Hash hash{};
    if (!ReadCost(pieces, cost)) {
        return false;
    }
    const Bytes salt = FromBase64(pieces[4], kSaltBytes);
    const Bytes expected = FromBase64(pieces[5], kHashBytes);
    return !salt.empty() && !expected.empty() && Derive(password, salt, cost, hash) &&
           CRYPTO_memcmp(hash.data(), expected.data(), kHashBytes) == 0;
}

}  // namespace CQXSERVER::sessions
