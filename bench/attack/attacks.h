// What was tried against the server; docs/reliability.md tells what each found at first.
#pragma once

#include <string>
#include <vector>

#include "target.h"

namespace qxdb_attack {

struct Attack {
    std::string name;
    void (*run)(Target& target);
};

/// By clients without a login.
const std::vector<Attack>& AttacksOfStrangers();
/// The same, over TLS.
const std::vector<Attack>& AttacksByHandshakes();
/// By clients with an account of their own.
const std::vector<Attack>& AttacksOfAccounts();

}  // namespace qxdb_attack
