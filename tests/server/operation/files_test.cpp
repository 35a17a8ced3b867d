// Who else gets at the files of a server, and what lies in their place.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "server/operation/data_folder.h"
#include "server/operation/port_file.h"
#include "server/server_error.h"
#include "tests/server/test_server.h"
#include "tests/support/QxdbServer.h"

namespace qxdb_test {
namespace {

namespace fs = std::filesystem;
using CQXSERVER::OperatorError;
using CQXSERVER::operation::AccountStorePath;
using CQXSERVER::operation::PortFile;

bool OthersGetAt(const fs::path& path) {
    return (fs::status(path).permissions() & (fs::perms::group_all | fs::perms::others_all)) !=
           fs::perms::none;
}

class Umask {
  public:
    explicit Umask(mode_t mask) : before_(umask(mask)) {}
    ~Umask() { umask(before_); }
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;

  private:
    const mode_t before_;
};

TEST(DataFolder, NobodyElseReadsWhatIsInIt) {
    const Umask open(0);
    QxdbServer server(QXDB_SERVER_PROGRAM);
    RawClient client(server.Port());
    client.Login(L"ada", L"correct horse battery");
    client.Execute(L"CREATE TABLE t(n)");
    EXPECT_FALSE(OthersGetAt(server.Folder().Path()));
    std::size_t files = 0;
    for (const fs::directory_entry& each : fs::directory_iterator(server.Folder().Path())) {
        EXPECT_EQ(OthersGetAt(each), each.path().filename() == "port") << each.path();
        ++files;
    }
    EXPECT_GE(files, 4U);
}

TEST(DataFolder, IsClosedWithItsFilesWhenItWasOpen) {
    const TempDir folder;
    for (const char* name : {"accounts.db", "main.db", "main.db-wal", "letter"}) {
        WriteFile(folder.Path() / name, "x");
        fs::permissions(folder.Path() / name, fs::perms(0664));
    }
    fs::permissions(folder.Path(), fs::perms(0755));
    AccountStorePath(folder.Path().string());
    EXPECT_EQ(fs::status(folder.Path()).permissions(), fs::perms(0700));
    for (const char* name : {"accounts.db", "main.db", "main.db-wal"}) {
        EXPECT_EQ(fs::status(folder.Path() / name).permissions(), fs::perms(0600)) << name;
    }
    EXPECT_TRUE(OthersGetAt(folder.Path() / "letter"));
}

TEST(DataFolder, OfSomebodyElseIsRefused) {
    const TempDir own;
    const bool root = geteuid() == 0;
    const fs::path folder = root ? own.Path() : fs::path("/usr");
    if (root) {
        constexpr uid_t kNobody = 65534;
        ASSERT_EQ(chown(folder.c_str(), kNobody, kNobody), 0);
        fs::permissions(folder, fs::perms(0755));
    }
    EXPECT_THROW(AccountStorePath(folder.string()), OperatorError);
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms(0755));
    if (root) {
        fs::permissions(folder, fs::perms(0700));
        EXPECT_THROW(AccountStorePath(folder.string()), OperatorError) << "a store of root's";
    }
}

TEST(PortFileTest, FollowsNoLinkAndWritesIntoNothingThatIsNoFile) {
    const TempDir folder;
    const fs::path port = folder.Path() / "port";
    WriteFile(folder.Path() / "letter", "dear");
    for (const char* name : {"port", "port.new"}) {
        fs::create_symlink(folder.Path() / "letter", folder.Path() / name);
    }
    EXPECT_THROW(PortFile(port.string(), 1), OperatorError);
    fs::remove(port);
    ASSERT_EQ(mkfifo(port.c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_THROW(PortFile(port.string(), 1), OperatorError);
    fs::remove(port);
    WriteFile(port, "left over");
    {
        const PortFile file(port.string(), 4711);
        EXPECT_EQ(ReadFile(port), "4711\n");
        EXPECT_THROW(PortFile(port.string(), 1), OperatorError);
        EXPECT_EQ(ReadFile(port), "4711\n");
    }
    EXPECT_FALSE(fs::exists(port));
    {
        const PortFile file(port.string(), 4711);
        fs::remove(port);
        WriteFile(port, "somebody else's");
    }
    EXPECT_EQ(ReadFile(port), "somebody else's");
    EXPECT_EQ(ReadFile(folder.Path() / "letter"), "dear");
}

}  // namespace
}  // namespace qxdb_test
