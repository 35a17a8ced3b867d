#include "server/operation/user_commands.h"

#include <iostream>

#include "platform/console/password_prompt.h"
#include "server/operation/data_folder.h"
#include "server/server_error.h"
#include "server/sessions/account_store.h"
#include "server/sessions/password_hash.h"

namespace CQXSERVER::operation {
namespace {

std::string AskTwice(const std::string& user) {
    std::string password;
    std::string again;
    if (!CQXBASE::platform::console::ReadHiddenLine("Password for " + user + ": ", password) ||
        !CQXBASE::platform::console::ReadHiddenLine("The same again: ", again)) {
        throw OperatorError("no password given");
    }
    if (password != again) {
        throw OperatorError("the two passwords differ");
    }
    return password;
}

std::string ReadPassword(const std::string& user) {
    std::string password;
    if (CQXBASE::platform::console::StdinIsTerminal()) {
        password = AskTwice(user);
    } else {
        std::getline(std::cin, password);
        if (!password.empty() && password.back() == '\r') {
            password.pop_back();
        }
    }
    if (password.empty() || password.find("|~|") != std::string::npos) {
        throw OperatorError("a password is not empty and has no |~|");
    }
    return password;
}

void List(sessions::AccountStore& accounts) {
    for (const sessions::Account& each : accounts.List()) {
        std::cout << each.name << '\t' << each.databases.Text() << '\n';
    }
    if (!std::cout.flush()) {
        throw OperatorError("the list can't be written");
    }
}

}  // namespace

void RunUserCommand(const CommandLine& command) {
    const bool makes = command.action == Action::AddUser;
    const std::string& folder = command.options.dataDir;
    sessions::AccountStore accounts(
        makes ? AccountStorePath(folder) : ExistingAccountStorePath(folder),
        makes ? sessions::IfMissing::Make : sessions::IfMissing::Refuse);
    switch (command.action) {
        case Action::AddUser:
            accounts.Add(command.user, sessions::HashPassword(ReadPassword(command.user)),
                         command.databases);
            break;
        case Action::RemoveUser:
            accounts.Remove(command.user);
            break;
        case Action::SetPassword:
            accounts.SetPassword(command.user, sessions::HashPassword(ReadPassword(command.user)));
            break;
        case Action::SetDatabases:
            accounts.SetDatabases(command.user, command.databases);
            break;
        case Action::ListUsers:
            List(accounts);
            break;
        case Action::Serve:
        case Action::InitTls:
            break;
    }
}

}  // namespace CQXSERVER::operation
