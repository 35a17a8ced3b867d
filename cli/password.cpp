#include "cli/password.h"

#include <filesystem>
#include <fstream>

#include <Poco/Environment.h>

#include "cli/exit_status.h"
#include "platform/console/password_prompt.h"

namespace CQXCLI {

namespace {

constexpr const char* kVariable = "QXDB_PASSWORD";

std::string FirstLine(const std::string& file) {
    std::ifstream in(std::filesystem::u8path(file), std::ios::binary);
    std::string line;
    if (!in || !std::getline(in, line)) {
        throw CliError(kWrongUsage, "no password can be read from the file " + file);
    }
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return line;
}

}  // namespace

bool PasswordIsAtHand(const std::string& file) {
    return !file.empty() || Poco::Environment::has(kVariable);
}

std::string FindPassword(const std::string& file, const std::string& prompt) {
    if (!file.empty()) {
        return FirstLine(file);
    }
    if (Poco::Environment::has(kVariable)) {
        return Poco::Environment::get(kVariable);
    }
    std::string typed;
    if (!CQXBASE::platform::console::ReadHiddenLine(prompt, typed)) {
        throw CliError(kWrongUsage,
                       "there is no terminal to ask for the password on; give "
                       "--password-file or the variable QXDB_PASSWORD");
    }
    return typed;
}

}  // namespace CQXCLI
