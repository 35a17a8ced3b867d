// The names by which databases go in options, accounts and requests.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace CQXSERVER {

/// True for 1 to 64 letters, digits, '_', '-' and '.'.
bool IsDatabaseName(const std::string& name) noexcept;

/// What an account may use: every database, those included that are configured later, or the named
/// ones alone. Made with nothing it is none.
class AllowedDatabases {
  public:
    AllowedDatabases() = default;
    AllowedDatabases(std::initializer_list<std::string> names);
    static AllowedDatabases All();
    /// Reads "*", which is all, or names between commas; blanks around them, empty ones and
    /// repetitions are left out. Names are not checked.
    static AllowedDatabases Parse(std::string_view text);
    /// The reverse; "" for none.
    std::string Text() const;

    bool AreAll() const noexcept { return all_; }
    const std::vector<std::string>& Names() const noexcept { return names_; }  ///< empty for all
    bool Have(const std::string& name) const;

  private:
    void Add(std::string_view name);

    bool all_ = false;
    std::vector<std::string> names_;
};

}  // namespace CQXSERVER
