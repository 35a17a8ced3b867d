#include "tests/cli/qxdb_program.h"

#include "tests/support/ChildProcess.h"

namespace qxdb_test {

Ended RunQxdb(const std::vector<std::string>& arguments, const Given& given) {
    ChildProcess program(QXDB_PROGRAM, arguments, {{}, given.environment, given.input});
    if (given.input.empty()) {
        program.CloseInput();
    }
    Ended ended;
    ended.status = program.Wait(std::chrono::seconds(60));
    ended.out = program.Output();
    ended.err = program.Errors();
    return ended;
}

}  // namespace qxdb_test
