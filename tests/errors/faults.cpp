#include "faults.h"

#include <cstring>

#include "errors/caught_exception.h"

namespace CQXBASE::test {

// Outside any unnamed namespace: the compiler must not know all classes that derive from it.
class Abstract {
  public:
    Abstract() { Call(this); }
    virtual ~Abstract() = default;
    virtual void Work() = 0;

  private:
    static void Call(Abstract* object) {
        Abstract* volatile unknown = object;
        unknown->Work();  // NOLINT(clang-analyzer-cplusplus.PureVirtualCall)
    }
};

volatile int gSink = 0;

class Concrete : public Abstract {
  public:
    void Work() override { gSink = 1; }
};

namespace {

int* volatile gNull = nullptr;
volatile int gOne = 1;
volatile int gZero = 0;
volatile bool gAlways = true;
void (*volatile gFunction)() = nullptr;
thread_local int tLiveOwners = 0;

int Descend(int depth) {
    volatile char frame[512];
    frame[0] = static_cast<char>(depth);
    return gAlways ? Descend(depth + 1) + frame[0] : depth;
}

int DescendOwning(int a, int b, int c, int d);
int (*volatile gDescendOwning)(int, int, int, int) = DescendOwning;

int DescendOwning(int a, int b, int c, int d) {
    const Owner owner;
    volatile char frame[192];
    frame[0] = static_cast<char>(a);
    return gDescendOwning(b, c, d, a) + a + b + c + frame[0];
}

}  // namespace

void WriteToNull() {
    *gNull = 1;
}
void DivideByZero() {
    gSink = gOne / gZero;
}
void ExecuteIllegalInstruction() {
    asm("ud2");
}
void HitBreakpoint() {
    asm("int3");
}

void CallNullPointer() {
    gFunction();
    gSink = 2;
}

void JumpIntoData() {
    static int data = 0;
    void (*function)() = nullptr;
    const void* address = &data;
    std::memcpy(&function, &address, sizeof address);
    void (*volatile unknown)() = function;
    unknown();
    gSink = 3;
}

void CallPureVirtual() {
    const Concrete object;
    gSink = 4;
}

void CopyToNull() {
    const char source[300] = {1};
    std::memcpy(gNull, source, sizeof source - static_cast<std::size_t>(gZero));
    gSink = 5;
}

void MakeStringOfBadText() {
    const Owner owner;
    const std::string text(reinterpret_cast<const char*>(gNull) + 8);
    gSink = static_cast<int>(text.size());
}

void FaultInDestructor() {
    struct Faulting {
        ~Faulting() { *gNull = 2; }
    };
    const Faulting object;
    gSink = 6;
}

void OverflowStack() {
    gSink = Descend(0);
}
void OverflowStackOfOwners() {
    gSink = DescendOwning(1, 2, 3, 4);
}

Owner::Owner() {
    ++tLiveOwners;
}
Owner::~Owner() {
    --tLiveOwners;
}

int LiveOwners() noexcept {
    return tLiveOwners;
}

std::wstring Report(void (*fault)()) {
    return RunProtected(
        QXDB_SITE(L"faults", L"Report"),
        [fault] {
            fault();
            return std::wstring();
        },
        [](const CaughtException& caught) { return caught.text(); });
}

}  // namespace CQXBASE::test
