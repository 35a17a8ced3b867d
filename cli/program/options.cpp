#include "cli/program/options.h"

#include <algorithm>
#include <utility>

#include "cli/parameters.h"
#include "cli/program/command_line.h"

namespace CQXCLI::program {

namespace {

/// A server's URL says in one what several options do, which win.
void TakeServerUrl(ConnectionOptions& connection) {
    const bool asDatabase = IsServerUrl(connection.url);
    if (asDatabase && !connection.server.empty()) {
        RefuseUsage("either --db or --server must tell where to work");
    }
    if (!asDatabase && !IsServerUrl(connection.server)) {
        return;
    }
    const ServerUrl url = ParseServerUrl(asDatabase ? connection.url : connection.server);
    const bool isNumber = url.host.find(':') != std::string::npos;
    connection.server = isNumber ? '[' + url.host + ']' : url.host;
    if (url.port != 0) {
        connection.server += ':' + std::to_string(url.port);
    }
    connection.url.clear();
    if (connection.user.empty()) {
        connection.user = url.user;
        connection.password = url.password;
    }
    if (connection.database.empty()) {
        connection.database = url.database;
    }
    connection.tls.on = connection.tls.on || url.tls;
}

void CheckConnection(const ConnectionOptions& connection) {
    if (connection.url.empty() == connection.server.empty()) {
        RefuseUsage("either --db or --server must tell where to work");
    }
    if (!connection.server.empty() && connection.user.empty()) {
        RefuseUsage("--server needs --user");
    }
    if (connection.server.empty() && connection.timeout >= 0) {
        RefuseUsage("--timeout goes with --server; a database has options of its own in its URL");
    }
    if (connection.server.empty() && connection.tls.Wanted()) {
        RefuseUsage("--tls goes with --server; a database has options of its own in its URL");
    }
    if (connection.server.empty() && !connection.user.empty()) {
        RefuseUsage("--user goes with --server; a database's user stands in its URL");
    }
}

void CheckTask(const Options& options, const WrittenOptions& written) {
    const bool runs = options.task == Options::Task::Run;
    if (!runs && !options.inputs.empty()) {
        RefuseUsage("-c and -f don't go with a subcommand");
    }
    const bool oneCommand = options.inputs.size() == 1 && !options.inputs[0].isFile;
    if (runs && !written.parameters.empty() && !oneCommand) {
        RefuseUsage("--param goes with one -c");
    }
    if (options.task == Options::Task::Export &&
        (written.format == "table" || written.format == "vertical")) {
        RefuseUsage("export writes csv, tsv or json");
    }
}

void Settle(Options& options, const WrittenOptions& written) {
    for (const std::string& text : written.parameters) {
        options.run.parameters.push_back(ParseParameter(text));
    }
    options.export_.parameters = options.run.parameters;
    if (output::FindFormat(written.format, options.run.format)) {
        options.export_.format = options.run.format;
    }
    options.run.header = options.import.header = options.export_.header = !written.noHeader;
    options.run.pageSize = std::max(0L, written.pageSize);
    options.export_.pageSize = written.pageSize;
}

}  // namespace

Options ParseOptions(std::vector<std::string> arguments) {
    Options options;
    WrittenOptions written;
    CommandLine commandLine(options, written);
    commandLine.Parse(std::move(arguments));
    options.task = commandLine.Task();
    options.inputs = commandLine.Inputs();
    TakeServerUrl(options.connection);
    CheckConnection(options.connection);
    if (!options.connection.server.empty()) {
        options.connection.tls = WithEnvironment(std::move(options.connection.tls));
    }
    CheckTask(options, written);
    Settle(options, written);
    return options;
}

}  // namespace CQXCLI::program
