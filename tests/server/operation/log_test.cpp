// The log when its reader or its disk fails it.
#include "server/log.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/TempDir.h"

namespace CQXSERVER {
namespace {

/// Has standard error lead elsewhere as long as it lives.
class Redirected {
  public:
    Redirected() : before_(dup(STDERR_FILENO)) {}
    ~Redirected() {
        StartLog("none");
        dup2(before_, STDERR_FILENO);
        close(before_);
    }
    Redirected(const Redirected&) = delete;
    Redirected& operator=(const Redirected&) = delete;
    /// Takes the descriptor over.
    void To(int descriptor) {
        dup2(descriptor, STDERR_FILENO);
        close(descriptor);
    }

  private:
    const int before_;
};

TEST(Log, GoesOnWhenTheDiskHasRoomAgainAndTellsWhatIsMissing) {
    const qxdb_test::TempDir folder;
    const std::string path = folder.File("log");
    Redirected stream;
    stream.To(open("/dev/full", O_WRONLY));
    StartLog("information");
    LogInformation("first");
    LogInformation("second");
    stream.To(open(path.c_str(), O_WRONLY | O_CREAT, S_IRUSR | S_IWUSR));
    LogInformation("third");
    LogInformation("fourth");
    const std::string text = qxdb_test::ReadFile(path);
    const std::size_t told = text.find("Warning: 2 lines of the log were lost\n");
    EXPECT_LT(told, text.find("Information: third\n")) << text;
    EXPECT_NE(text.find("Information: fourth\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("first"), std::string::npos) << text;
    EXPECT_EQ(text.find("lost", told + 40), std::string::npos) << text;
}

TEST(Log, NeverWaitsForeverForItsReader) {
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    Redirected stream;
    stream.To(pipe[1]);
    StartLog("information");
    constexpr int kLines = 300;  // more than a pipe holds
    for (int i = 0; i < kLines; ++i) {
        LogInformation(i, std::string(1000, 'x'));
    }
    std::string text(1 << 20, '\0');
    text.resize(static_cast<std::size_t>(read(pipe[0], text.data(), text.size())));
    const auto whole = std::count(text.begin(), text.end(), '\n');
    EXPECT_LT(whole, kLines);
    LogInformation("there is room again");
    std::string rest(1 << 16, '\0');
    rest.resize(static_cast<std::size_t>(read(pipe[0], rest.data(), rest.size())));
    EXPECT_NE(rest.find(std::to_string(kLines - whole) + " lines of the log were lost\n"),
              std::string::npos)
        << rest;
    EXPECT_NE(rest.find("Information: there is room again\n"), std::string::npos) << rest;
    close(pipe[0]);
}

}  // namespace
}  // namespace CQXSERVER
