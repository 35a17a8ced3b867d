// An ordered list of commands with one shared data source, database, token and page.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <qxdb/QXCommand.h>

namespace CQXDB {

namespace encoding {
class CommandGroups;
}

/// What the list holds (data source, token, page) counts; the same members of its commands do not.
class QXDB_OBJECTS_API QXCommandList : public QXCommandBase {
  public:
    void Add(QXCommand command) {
        Change();
        commands_.push_back(std::move(command));
    }
    void Reserve(std::size_t count) {
        Unfold();
        commands_.reserve(count);
    }
    void RemoveAll() noexcept;
    std::size_t Count() const noexcept { return columns_ ? folded_ : commands_.size(); }
    bool Empty() const noexcept { return Count() == 0; }
    const QXCommand& At(std::size_t index) const {
        Unfold();
        return commands_.at(index);
    }
    QXCommand& At(std::size_t index) {
        Change();
        lent_ = true;
        return commands_.at(index);
    }
    std::vector<QXCommand>::const_iterator begin() const {
        Unfold();
        return commands_.begin();
    }
    std::vector<QXCommand>::const_iterator end() const {
        Unfold();
        return commands_.end();
    }

    /// Has the list leave what it decodes in the columns that it travels in, until one of its
    /// commands is looked at or added. Looking at a command may then change the list, as far as
    /// threads are concerned.
    void KeepColumns() noexcept { keepsColumns_ = true; }
    /// Those columns, for what runs the list; null when it holds commands.
    const encoding::CommandGroups* Columns() const noexcept { return columns_.get(); }

    int toCDR(ACE_OutputCDR& out) const override;
    int fromCDR(ACE_InputCDR& in) override;
    std::size_t size() override;

  private:
    using Groups = std::shared_ptr<const encoding::CommandGroups>;

    /// What size() has sorted, for the toCDR that follows. A copy of the list does without.
    struct Remembered {
        Remembered() = default;
        Remembered(const Remembered& /*other*/) noexcept {}
        Remembered& operator=(const Remembered& other) noexcept {
            if (this != &other) {
                groups.reset();
            }
            return *this;
        }
        Groups groups;  ///< atomic where a const list is concerned
    };

    void Change() {
        Unfold();
        sorted_.groups.reset();
    }
    void Unfold() const {
        if (columns_) {
            MakeCommands();
        }
    }
    void MakeCommands() const;
    Groups Sorted() const;

    mutable std::vector<QXCommand> commands_;  ///< none while there are columns_
    mutable Groups columns_;                   ///< what was decoded, if it is kept so
    std::size_t folded_ = 0;                   ///< commands in columns_
    bool keepsColumns_ = false;
    bool lent_ = false;  ///< someone may hold a command and change it
    mutable Remembered sorted_;
};

}  // namespace CQXDB
