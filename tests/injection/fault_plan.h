// Which call of a process is to fail. The interposer reads it; a test writes it, into its own
// process or, through a shared file, into another's.
#pragma once

#include <atomic>

namespace qxdb_test {

enum class Calls : int {
    None,
    Allocations,  ///< malloc and its kin
    Sockets,      ///< what makes, waits for, reads, writes or sets a socket
    Disk,         ///< what writes, grows or flushes a file
};

/// Names the file of the plan in the environment of a process that another one directs.
constexpr char kFaultPlanVariable[] = "QXDB_FAULT_PLAN";

constexpr int kShortTransfer = -1;  ///< in `error`: no failure, but half of the bytes

/// Lives in zeroed memory. Atomics without locks, so that it may be shared between processes.
struct FaultPlan {
    std::atomic<int> calls;    ///< a Calls; None arms nothing
    std::atomic<int> error;    ///< errno of the failure, or kShortTransfer
    std::atomic<int> lasting;  ///< 1: all later calls fail too
    std::atomic<int> thread;   ///< the only one to be disturbed, by its number; 0 is all
    std::atomic<long> first;   ///< the number of the call that fails, from 1
    std::atomic<long> seen;    ///< calls since the plan was armed
    std::atomic<long> failed;  ///< of these
    std::atomic<long> live;    ///< allocations of the process that are not freed
};

}  // namespace qxdb_test
