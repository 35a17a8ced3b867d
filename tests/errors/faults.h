// Faults to be raised in tests, each by the instruction or call that its name tells. The optimiser
// sees neither that they will fault nor that their results are unused.
#pragma once

#include <string>

namespace CQXBASE::test {

void WriteToNull();
void DivideByZero();
void ExecuteIllegalInstruction();
void HitBreakpoint();
void CallNullPointer();
void JumpIntoData();
/// In the constructor of an abstract class.
void CallPureVirtual();
/// Lets the C library copy to address 0.
void CopyToNull();
/// In a function that owns an object; the C library reads the text.
void MakeStringOfBadText();
/// In a destructor, which is not to throw.
void FaultInDestructor();
/// Recursion without end in frames that have nothing to clean up.
void OverflowStack();
/// The same in frames that own objects.
void OverflowStackOfOwners();

/// Counted while it lives.
struct Owner {
    Owner();
    ~Owner();
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;
};

/// How many of them live on this thread.
int LiveOwners() noexcept;

/// Runs `fault` in a protected region; gives the text that the catch boundary would report, or ""
/// when nothing was caught.
std::wstring Report(void (*fault)());

}  // namespace CQXBASE::test
