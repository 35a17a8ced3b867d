#include "server/operation/command_line.h"

#include <algorithm>
#include <utility>

#include <CLI/CLI.hpp>

#include "server/database_names.h"
#include "server/log.h"
#include "server/operation/config_file.h"
#include "server/server_error.h"

namespace CQXSERVER::operation {
namespace {

constexpr int kUsageStatus = 2;
constexpr char kUsualDatabase[] = "main";

/// The arguments and where they go. Only what is given replaces what is there.
class Parser {
  public:
    explicit Parser(ServerOptions options, std::vector<std::string> warnings = {}) {
        parsed_.options = std::move(options);
        parsed_.warnings = std::move(warnings);
        AddServerOptions();
        AddTlsOptions();
        AddUserCommands();
        AddTlsCommands();
    }

    void Parse(int argc, const char* const* argv) { app_.parse(argc, argv); }
    int Exit(const CLI::ParseError& error) const {
        return app_.exit(error) == 0 ? 0 : kUsageStatus;
    }
    const std::string& ConfigFile() const noexcept { return configFile_; }

    CommandLine Result() {
        for (const std::string& each : databases_) {
            const std::size_t equals = each.find('=');
            if (equals == std::string::npos) {
                throw OperatorError("--database wants NAME=URL");
            }
            if (HoldsPassword(each.substr(equals + 1))) {
                parsed_.warnings.push_back(
                    "every user of this machine can see the password in "
                    "--database; a file for --config can hide it");
            }
            SetDatabase(parsed_.options, each.substr(0, equals), each.substr(equals + 1));
        }
        parsed_.databases = AllowedDatabases::Parse(userDatabases_);
        CheckNames();
        return parsed_;
    }

  private:
    /// A name that is misspelt would shut the account out.
    void CheckNames() {
        const auto& configured = parsed_.options.databases;
        for (const std::string& each : parsed_.databases.Names()) {
            const bool known =
                std::any_of(configured.begin(), configured.end(),
                            [&each](const auto& database) { return database.first == each; });
            if (!configured.empty() && !known) {
                throw OperatorError("no database '" + CQXBASE::PrintableUtf8(each) +
                                    "' is configured");
            }
            if (configured.empty() && each != kUsualDatabase && IsDatabaseName(each)) {
                parsed_.warnings.push_back("nothing tells whether there is a database '" +
                                           CQXBASE::PrintableUtf8(each) +
                                           "': give --config or --database to have it checked");
            }
        }
    }

    void AddServerOptions() {
        ServerOptions& options = parsed_.options;
        app_.set_version_flag("--version", "qxdbserver " QXDB_VERSION);
        app_.add_option("--data", options.dataDir, "Folder of the account store; made if missing")
            ->type_name("DIR");
        app_.add_option("--config", configFile_, "TOML file; arguments win over it")
            ->type_name("FILE");
        app_.add_option("--listen", options.listen, "Address to listen on; port 0 picks a free one")
            ->type_name("HOST:PORT")
            ->capture_default_str();
        app_.add_option("--port-file", options.portFile, "Takes the port once listening")
            ->type_name("FILE");
        app_.add_option(
                "--database", databases_,
                "A database to serve (repeatable); without any, 'main' in the data folder. URL "
                "is sqlite:PATH, postgresql://..., mysql://... or odbc:...")
            ->type_name("NAME=URL")
            ->allow_extra_args(false);
        app_.add_flag("--allow-client-data-sources", options.clientDataSources.allowed,
                      "Let clients name databases of their own");
        app_.add_flag("--allow-core-dumps", parsed_.allowCoreDumps,
                      "Let a crash or a debugger see the memory, passwords included");
        app_.add_option(
                "--log-level", options.logLevel,
                "fatal, critical, error, warning, notice, information, debug, trace or none")
            ->type_name("LEVEL")
            ->capture_default_str()
            ->check([](const std::string& level) {
                return IsLogLevel(level) ? std::string() : "unknown level " + level;
            });
    }

    void AddTlsOptions() {
        TlsOptions& tls = parsed_.options.tls;
        app_.add_option("--tls-certificate", tls.certificate,
                        "The server's certificate; without it that of 'tls init', if it is there")
            ->type_name("FILE");
        app_.add_option("--tls-key", tls.key, "Its key, if that is not in the same file")
            ->type_name("FILE");
        app_.add_option("--tls-client-ca", tls.clientCa,
                        "Clients need a certificate that one of these has issued")
            ->type_name("FILE");
        app_.add_flag("--require-tls", tls.required, "Refuse clients without TLS");
    }

    void AddTlsCommands() {
        CLI::App* const tls =
            app_.add_subcommand("tls", "Make the certificates of TLS; needs --data");
        tls->fallthrough()->require_subcommand(1);
        CLI::App* const init = tls->add_subcommand(
            "init", "Make an authority, and a certificate that it issues to the server");
        init->fallthrough()->callback([this] { parsed_.action = Action::InitTls; });
        init->add_option("--host", parsed_.hosts,
                         "Name or IP address that clients connect to (repeatable)")
            ->type_name("NAME")
            ->required()
            ->allow_extra_args(false);
        init->add_flag("--renew", parsed_.renew,
                       "A new certificate from the authority that is there");
    }

    void AddUserCommands() {
        CLI::App* const user = app_.add_subcommand("user", "Work on the accounts; needs --data");
        user->fallthrough()->require_subcommand(1);
        AddUserCommand(*user, "add", Action::AddUser,
                       "Add an account; the password comes from the terminal or standard input",
                       true);
        AddUserCommand(*user, "remove", Action::RemoveUser,
                       "Remove an account and end its sessions");
        AddUserCommand(*user, "passwd", Action::SetPassword, "Set a password and end the sessions");
        AddUserCommand(*user, "set", Action::SetDatabases, "Set the databases of an account", true)
            ->get_option("--databases")
            ->required();
        user->add_subcommand("list", "List the accounts")->fallthrough()->callback([this] {
            parsed_.action = Action::ListUsers;
        });
    }

    CLI::App* AddUserCommand(CLI::App& user, const std::string& name, Action action,
                             const std::string& help, bool takesDatabases = false) {
        CLI::App* const command = user.add_subcommand(name, help);
        command->fallthrough()->callback([this, action] { parsed_.action = action; });
        command->add_option("NAME", parsed_.user, "The account")->required();
        if (takesDatabases) {
            command->add_option("--databases", userDatabases_, "Names between commas; * for all")
                ->type_name("LIST");
        }
        return command;
    }

    CLI::App app_{"Application server for database agents"};
    CommandLine parsed_;
    std::string configFile_;
    std::vector<std::string> databases_;
    std::string userDatabases_ = "*";
};

}  // namespace

std::optional<CommandLine> ParseCommandLine(int argc, const char* const* argv, int& exitStatus) {
    Parser first{ServerOptions()};
    try {
        first.Parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        exitStatus = first.Exit(e);
        return std::nullopt;
    }
    if (first.ConfigFile().empty()) {
        return first.Result();
    }
    ServerOptions options;
    std::vector<std::string> warnings = ReadConfigFile(first.ConfigFile(), options);
    Parser second(std::move(options), std::move(warnings));
    second.Parse(argc, argv);
    return second.Result();
}

}  // namespace CQXSERVER::operation
