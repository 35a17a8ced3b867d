// Feeds every file of the folders named on the command line to the target, without a fuzzer.
#include <cstdio>
#include <filesystem>
#include <string>

#include "tests/fuzz/fuzz_input.h"
#include "tests/support/TempDir.h"

int main(int argumentCount, char** arguments) {
    int files = 0;
    for (int index = 1; index < argumentCount; ++index) {
        for (const auto& entry : std::filesystem::directory_iterator(arguments[index])) {
            std::printf("%s\n", entry.path().filename().string().c_str());
            std::fflush(stdout);  // a crash shows which file it was
            const std::string bytes = qxdb_test::ReadFile(entry.path());
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                   bytes.size());
            ++files;
        }
    }
    std::printf("%d inputs\n", files);
    return files > 0 ? 0 : 1;
}
