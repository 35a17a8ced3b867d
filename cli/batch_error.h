// Which command of a list an error belongs to.
#pragma once

#include <cstddef>
#include <string>

#include "cli/session.h"

namespace CQXCLI {

struct BatchError {
    std::string text;       ///< "error 19: ...", without the command's number
    std::size_t index = 0;  ///< of the command, from 0; the list's length when it isn't told
};

/// Takes apart the error of a list of `count` commands, whose text ends in "(command 3 of 10)".
BatchError ReadBatchError(const Answer& answer, std::size_t count);

}  // namespace CQXCLI
