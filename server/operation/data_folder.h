// The folder that holds the accounts and, unless others are configured, the database.
#pragma once

#include <string>

#include "platform/files/file_lock.h"

namespace CQXSERVER::operation {

/// Makes a data folder ready: it is made when missing, and one that others can look into is closed
/// to them, with what it holds of the server's files, and the log says so. Throws OperatorError
/// when it can't be made or closed, or belongs to somebody else who lets others in.
void PrepareDataFolder(const std::string& dataDir);

/// For what is to be the server's user's own: throws OperatorError unless the folder is there and
/// belongs to this user.
void RequireOwnDataFolder(const std::string& dataDir);

/// The path of the account store in a data folder, which is made ready.
std::string AccountStorePath(const std::string& dataDir);

/// The same for what needs a store that is there: nothing is made.
std::string ExistingAccountStorePath(const std::string& dataDir);

/// Keeps other servers out of a data folder, which is made ready. The commands of an operator need
/// no lock. Throws OperatorError.
class DataFolderLock {
  public:
    explicit DataFolderLock(const std::string& dataDir);

  private:
    CQXBASE::platform::files::FileLock lock_;
};

}  // namespace CQXSERVER::operation
