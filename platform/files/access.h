// Who may read and write files.
#pragma once

#include <filesystem>
#include <system_error>

namespace CQXBASE::platform::files {

/// From now on the process makes files and folders for their owner only. On Windows they have the
/// access list of their folder, which this leaves alone; so it is with the functions below.
void NewFilesForOwnerOnly() noexcept;

/// Whether any other user than the owner may do anything with a file or folder. False for one that
/// isn't there, and on Windows.
bool OpenToOthers(const std::filesystem::path& path) noexcept;
/// Whether a file or folder belongs to the user of this process; true on Windows.
bool IsOwn(const std::filesystem::path& path) noexcept;
/// Leaves the owner's rights and takes all others away.
std::error_code CloseToOthers(const std::filesystem::path& path) noexcept;

/// Makes an empty file that its owner alone may read and write. Fails when there is one.
std::error_code MakePrivate(const std::filesystem::path& path) noexcept;
/// Why a file can't be read and written, which may be that there is none; nothing when it can.
std::error_code WhyNotOpen(const std::filesystem::path& path) noexcept;

}  // namespace CQXBASE::platform::files
