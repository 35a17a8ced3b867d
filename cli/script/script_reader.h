// The statements of a script, read from a stream.
#pragma once

#include <istream>
#include <vector>

#include "cli/script/statement_splitter.h"

namespace CQXCLI::script {

/// Hands out each statement as soon as its last line has arrived. A UTF-8 byte order mark at the
/// stream's start is skipped.
class ScriptReader {
  public:
    /// `in` must outlive the reader.
    ScriptReader(std::istream& in, const Dialect& dialect);

    /// False at the end of the script.
    bool Next(Statement& statement);
    /// True when the end came because the stream could not be read.
    bool Broken() const { return in_.bad(); }

  private:
    void ReadLine();

    std::istream& in_;
    StatementSplitter splitter_;
    std::vector<char> buffer_;
    bool first_ = true;
    bool ended_ = false;
};

}  // namespace CQXCLI::script
