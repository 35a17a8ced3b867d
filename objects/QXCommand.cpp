#include <algorithm>
#include <cstddef>

#include <qxdb/QXCommand.h>

#include "util/text.h"

namespace CQXDB {

QXCommand::QXCommand() = default;
QXCommand::QXCommand(std::wstring_view text) {
    SetText(text);
}
QXCommand::QXCommand(const QXCommand&) = default;
QXCommand::QXCommand(QXCommand&&) noexcept = default;
QXCommand& QXCommand::operator=(const QXCommand&) = default;
QXCommand& QXCommand::operator=(QXCommand&&) noexcept = default;
QXCommand::~QXCommand() = default;

void QXCommand::SetText(std::wstring_view text) {
    text_ = std::make_shared<const std::string>(CQXBASE::WideToUtf8(text));
}

void QXCommand::SetTextUtf8(std::string_view utf8) {
    text_ = std::make_shared<const std::string>(utf8);
}

std::wstring QXCommand::Text() const {
    return CQXBASE::Utf8ToWide(TextUtf8());
}

const std::string& QXCommand::TextUtf8() const noexcept {
    return *SharedText();
}

const std::shared_ptr<const std::string>& QXCommand::EmptyText() noexcept {
    static const std::string empty;
    static const std::shared_ptr<const std::string> shared(std::shared_ptr<void>(), &empty);
    return shared;
}

void QXCommand::ReserveParams() {
    constexpr std::ptrdiff_t kMost = 256;  // a text may hold question marks of other meanings
    params_.reserve(static_cast<std::size_t>(
        std::min(std::count(TextUtf8().begin(), TextUtf8().end(), '?'), kMost)));
}

void QXCommand::SetParam(std::size_t index, QXValue value) {
    if (index >= params_.size()) {
        params_.resize(index + 1);
    }
    params_[index] = std::move(value);
}

}  // namespace CQXDB
