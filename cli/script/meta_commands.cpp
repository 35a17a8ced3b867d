#include "cli/script/meta_commands.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "cli/catalog.h"

namespace CQXCLI::script {

namespace {

constexpr std::size_t kDeepestInclude = 16;

}  // namespace

struct MetaCommands::Command {
    std::string name;
    Outcome (MetaCommands::*run)(const Arguments&);
    std::size_t mostArguments;
    std::string help;  ///< empty: not shown
};

const std::vector<MetaCommands::Command>& MetaCommands::Commands() {
    static const std::vector<Command> commands = {
        {"\\?", &MetaCommands::Help, 0, "\\?             show this list"},
        {"\\c", &MetaCommands::Connect, 1, "\\c DATABASE    go on with another database"},
        {"\\connect", &MetaCommands::Connect, 1, ""},
        {"\\d", &MetaCommands::Describe, 1,
         "\\d [TABLE]     list the tables, or a table's columns"},
        {"\\format", &MetaCommands::ChooseFormat, 1,
         "\\format NAME   write results as table, csv, tsv, json or vertical"},
        {"\\i", &MetaCommands::Include, 1, "\\i FILE        run the statements of a file"},
        {"\\timing", &MetaCommands::ChooseTiming, 1,
         "\\timing [on|off]  tell how long each statement takes"},
        {"\\q", &MetaCommands::Quit, 0, "\\q             leave"},
        {"\\restrict", &MetaCommands::Restrict, 1, ""},
        {"\\unrestrict", &MetaCommands::Unrestrict, 1, ""},
    };
    return commands;
}

std::vector<std::string> MetaCommands::Words(const std::string& text) {
    std::vector<std::string> words;
    for (std::size_t at = text.find_first_not_of(" \t"); at < text.size();
         at = text.find_first_not_of(" \t", at)) {
        const bool quoted = text[at] == '"' || text[at] == '\'' || text[at] == '`';
        const std::size_t begin = quoted ? at + 1 : at;
        const std::size_t end = std::min(
            quoted ? text.find(text[at], begin) : text.find_first_of(" \t", begin), text.size());
        words.push_back(text.substr(begin, end - begin));
        at = quoted ? end + 1 : end;
    }
    return words;
}

Outcome MetaCommands::Run(const Statement& statement, const std::string& name) {
    script_ = name;
    line_ = statement.line;
    Arguments arguments = Words(statement.text);
    const std::string wanted = arguments.at(0);
    arguments.erase(arguments.begin());
    const auto& commands = Commands();
    const auto found = std::find_if(commands.begin(), commands.end(),
                                    [&](const Command& each) { return each.name == wanted; });
    if (found == commands.end()) {
        return Fail(wanted + " is not known; \\? shows what is");
    }
    if (!restricted_.empty() && found->run != &MetaCommands::Unrestrict) {
        return Fail(wanted + " is forbidden between \\restrict and \\unrestrict");
    }
    if (arguments.size() > found->mostArguments) {
        return Fail(wanted + " has too many arguments");
    }
    return (this->*found->run)(arguments);
}

Outcome MetaCommands::Quit(const Arguments& /*arguments*/) {
    return Outcome::Quit;
}

Outcome MetaCommands::Help(const Arguments& /*arguments*/) {
    for (const Command& command : Commands()) {
        runner_.Out() << command.help << (command.help.empty() ? "" : "\n");
    }
    runner_.Out() << "A statement ends with \";\" and may take several lines.\n" << std::flush;
    return Outcome::Done;
}

Outcome MetaCommands::Connect(const Arguments& arguments) {
    return arguments.empty() ? Fail("\\c needs the name of a database")
                             : runner_.Use(arguments[0], line_, script_);
}

Outcome MetaCommands::Describe(const Arguments& arguments) {
    const Dialect& dialect = runner_.Connection().SqlDialect();
    CQXDB::QXCommand query =
        arguments.empty() ? ListTables(dialect) : DescribeTable(dialect, arguments[0]);
    CQXDB::QXRecordset rs;
    const Answer answer = runner_.Connection().Query(query, rs);
    if (!answer.Ok()) {
        return Fail(ErrorText(answer));
    }
    if (!arguments.empty() && rs.RowCount() == 0) {
        return Fail("there is no table or view " + arguments[0]);
    }
    runner_.Show(rs);
    return Outcome::Done;
}

Outcome MetaCommands::ChooseFormat(const Arguments& arguments) {
    output::Format format{};
    if (arguments.empty() || !output::FindFormat(arguments[0], format)) {
        return Fail("\\format is followed by table, csv, tsv, json or vertical");
    }
    runner_.SetFormat(format);
    return Outcome::Done;
}

Outcome MetaCommands::Include(const Arguments& arguments) {
    if (arguments.empty()) {
        return Fail("\\i needs the name of a file");
    }
    if (depth_ == kDeepestInclude) {
        return runner_.Fail(
            script_, line_,
            "files include one another more than " + std::to_string(kDeepestInclude) + " deep");
    }
    std::ifstream file(std::filesystem::u8path(arguments[0]), std::ios::binary);
    if (!file) {
        return runner_.Fail(script_, line_, "the file " + arguments[0] + " can't be read");
    }
    ++depth_;
    const Outcome outcome = runner_.RunStatements(file, arguments[0]);
    --depth_;
    return outcome == Outcome::Quit ? Outcome::Done : outcome;
}

Outcome MetaCommands::ChooseTiming(const Arguments& arguments) {
    if (!arguments.empty() && arguments[0] != "on" && arguments[0] != "off") {
        return Fail("\\timing is followed by on, off or nothing");
    }
    runner_.SetTiming(arguments.empty() ? !runner_.Timing() : arguments[0] == "on");
    return Outcome::Done;
}

// PostgreSQL's dumps put their statements between these two, so that a name in the dumped database
// can't smuggle in a command.
Outcome MetaCommands::Restrict(const Arguments& arguments) {
    restricted_ = arguments.empty() ? "" : arguments[0];
    return restricted_.empty() ? Fail("\\restrict needs a key") : Outcome::Done;
}

Outcome MetaCommands::Unrestrict(const Arguments& arguments) {
    if (arguments.empty() || arguments[0] != restricted_) {
        return Fail("\\unrestrict needs the key that \\restrict was given");
    }
    restricted_.clear();
    return Outcome::Done;
}

Outcome MetaCommands::Fail(const std::string& text) {
    return runner_.Report(script_, line_, text);
}

}  // namespace CQXCLI::script
