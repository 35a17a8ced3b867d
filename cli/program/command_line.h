// The options as they are written, before they are checked against one another.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/program/options.h"

namespace CQXCLI::program {

struct WrittenOptions {
    std::vector<std::string> commands;
    std::vector<std::string> files;
    std::vector<std::string> parameters;
    std::string format;
    bool noHeader = false;
    long pageSize = -1;  ///< -1: not given
};

/// Everything that can be written, with its help. The arguments must outlive the object.
class CommandLine {
  public:
    CommandLine(Options& options, WrittenOptions& written);

    /// Throws CliError as ParseOptions does.
    void Parse(std::vector<std::string> arguments);
    Options::Task Task() const;
    /// The -c and -f in their order.
    std::vector<ScriptInput> Inputs() const;

  private:
    void AddConnection(ConnectionOptions& to);
    void AddTls(TlsOptions& to);
    void AddStatements(script::RunOptions& to);
    void AddOutput(script::RunOptions& to);
    void AddImport(transfer::ImportOptions& to);
    void AddExport(transfer::ExportOptions& to);

    CLI::App app_;
    WrittenOptions& written_;
    CLI::App* ping_;
    CLI::App* import_;
    CLI::App* export_;
};

/// Throws CliError (kWrongUsage).
[[noreturn]] void RefuseUsage(const std::string& what);

}  // namespace CQXCLI::program
