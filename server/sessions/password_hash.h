// Salted scrypt hashes of passwords, as text that carries its own parameters.
#pragma once

#include <string>
#include <string_view>

namespace CQXSERVER::sessions {

/// The work of one hash. Memory is 128 * blockSize * 2^logRounds bytes.
struct ScryptCost {
    unsigned logRounds = 15;  ///< 32 MiB and about 0.1 s of one core with the other defaults
    unsigned blockSize = 8;
    unsigned parallel = 1;
};

/// "scrypt$logRounds$blockSize$parallel$salt$hash", salt and hash in Base64. Throws OperatorError
/// when the library has no memory or no randomness to give.
std::string HashPassword(std::string_view password, const ScryptCost& cost = {});

/// Compares in constant time. A text that HashPassword never made matches no password.
bool PasswordMatches(std::string_view password, const std::string& stored);

}  // namespace CQXSERVER::sessions
