#include "server/operation/data_folder.h"

#include <filesystem>
#include <system_error>

#include "platform/files/access.h"
#include "server/log.h"
#include "server/server_error.h"

namespace CQXSERVER::operation {
namespace {

namespace fs = std::filesystem;
namespace files = CQXBASE::platform::files;

constexpr char kAccounts[] = "accounts.db";
constexpr char kLock[] = "lock";
/// With what SQLite keeps beside its files.
constexpr const char* kPrivateFiles[] = {kAccounts, "main.db", kLock};

std::string Quoted(const fs::path& path) {
    return "'" + path.u8string() + "'";
}

fs::path Given(const std::string& dataDir) {
    if (dataDir.empty()) {
        throw OperatorError("no data folder given: use --data DIR");
    }
    return fs::u8path(dataDir);
}

void Close(const fs::path& path) {
    if (const std::error_code error = files::CloseToOthers(path)) {
        throw OperatorError("others can read " + Quoted(path) +
                            ", and that can't be changed: " + error.message());
    }
    LogWarning("others could read ", Quoted(path), "; now they can't");
}

bool IsPrivate(const std::string& name) {
    for (const std::string each : kPrivateFiles) {
        if (name.compare(0, each.size(), each) == 0) {
            return true;
        }
    }
    return false;
}

void CloseFiles(const fs::path& folder) {
    std::error_code error;
    for (const fs::directory_entry& each : fs::directory_iterator(folder, error)) {
        // Where a link leads to is another folder's business.
        if (each.symlink_status(error).type() == fs::file_type::regular &&
            IsPrivate(each.path().filename().u8string()) && files::OpenToOthers(each.path())) {
            Close(each.path());
        }
    }
    if (error) {
        throw OperatorError("can't read the data folder " + Quoted(folder) + ": " +
                            error.message());
    }
}

void CloseFolder(const fs::path& folder) {
    if (files::OpenToOthers(folder)) {
        if (!files::IsOwn(folder)) {
            throw OperatorError("the data folder " + Quoted(folder) +
                                " belongs to another user and is open to others: use one of the "
                                "server's own user, with permissions 0700");
        }
        Close(folder);
    }
    CloseFiles(folder);
}

/// Throws when a store that is about to be made would not be the folder's owner's.
void RequireOwn(const fs::path& folder) {
    if (!files::IsOwn(folder)) {
        throw OperatorError("the data folder " + Quoted(folder) +
                            " belongs to another user: run this as that user");
    }
}

void RequireFolder(const fs::path& folder) {
    std::error_code error;
    if (!fs::is_directory(folder, error)) {
        error = error ? error : std::make_error_code(std::errc::not_a_directory);
        throw OperatorError("data folder " + Quoted(folder) + ": " + error.message());
    }
}

void MakeFolder(const fs::path& folder) {
    std::error_code error;
    if (fs::create_directories(folder, error)) {
        error = files::CloseToOthers(folder);
    }
    if (error) {
        throw OperatorError("can't make the data folder " + Quoted(folder) + ": " +
                            error.message());
    }
    RequireFolder(folder);
}

files::FileLock Lock(const std::string& dataDir) {
    PrepareDataFolder(dataDir);
    const fs::path file = fs::u8path(dataDir) / kLock;
    try {
        return files::FileLock(file);
    } catch (const std::system_error& e) {
        throw OperatorError("can't lock " + Quoted(file) + ": " + e.code().message());
    }
}

}  // namespace

void PrepareDataFolder(const std::string& dataDir) {
    const fs::path folder = Given(dataDir);
    MakeFolder(folder);
    CloseFolder(folder);
    if (!fs::exists(folder / kAccounts)) {
        RequireOwn(folder);
    }
}

void RequireOwnDataFolder(const std::string& dataDir) {
    const fs::path folder = Given(dataDir);
    RequireFolder(folder);
    RequireOwn(folder);
}

std::string AccountStorePath(const std::string& dataDir) {
    PrepareDataFolder(dataDir);
    return (fs::u8path(dataDir) / kAccounts).u8string();
}

std::string ExistingAccountStorePath(const std::string& dataDir) {
    const fs::path folder = Given(dataDir);
    RequireFolder(folder);
    if (!fs::exists(folder / kAccounts)) {
        throw OperatorError("there are no accounts in " + Quoted(folder) +
                            ": 'qxdbserver user add' makes the first one");
    }
    CloseFolder(folder);
    return (folder / kAccounts).u8string();
}

DataFolderLock::DataFolderLock(const std::string& dataDir) : lock_(Lock(dataDir)) {
    if (!lock_.Held()) {
        throw OperatorError("another server is using the data folder '" + dataDir + "'");
    }
}

}  // namespace CQXSERVER::operation
