// A statement text with typed positional parameters.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <qxdb/QXCommandBase.h>
#include <qxdb/QXValue.h>

namespace CQXDB {

/// Parameters stand as "?" in the text, on every database; "??" is a literal question mark. Copies
/// share the statement text, as they do the data source, until one of them is changed, so a copy a
/// row is cheap.
class QXDB_OBJECTS_API QXCommand : public QXCommandBase {
  public:
    QXCommand();
    explicit QXCommand(std::wstring_view text);
    QXCommand(const QXCommand&);
    /// A command that was moved from is one without a text and parameters.
    QXCommand(QXCommand&&) noexcept;
    QXCommand& operator=(const QXCommand&);
    QXCommand& operator=(QXCommand&&) noexcept;
    ~QXCommand() override;

    void SetText(std::wstring_view text);
    void SetTextUtf8(std::string_view utf8);
    std::wstring Text() const;
    const std::string& TextUtf8() const noexcept;
    /// The statement text, shared with the command's copies. Two commands of the same pointer have
    /// the same text; never null.
    const std::shared_ptr<const std::string>& SharedText() const noexcept {
        return text_ ? text_ : EmptyText();
    }

    void AddParam(QXValue value) {
        if (params_.capacity() == 0) {
            ReserveParams();
        }
        params_.push_back(std::move(value));
    }
    /// Sets parameter `index` (from 0); parameters before it that were never set become null.
    void SetParam(std::size_t index, QXValue value);
    void ClearParams() noexcept { params_.clear(); }
    const std::vector<QXValue>& Params() const noexcept { return params_; }

    int toCDR(ACE_OutputCDR& out) const override;
    int fromCDR(ACE_InputCDR& in) override;
    std::size_t size() override;

  private:
    static const std::shared_ptr<const std::string>& EmptyText() noexcept;
    /// Makes room for a parameter a question mark.
    void ReserveParams();

    std::shared_ptr<const std::string> text_;  ///< UTF-8; null stands for an empty one
    std::vector<QXValue> params_;

    friend class QXCommandList;
};

}  // namespace CQXDB
