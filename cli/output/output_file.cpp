#include "cli/output/output_file.h"

#include <iostream>

#include "cli/exit_status.h"

namespace CQXCLI::output {

namespace fs = std::filesystem;

OutputFile::OutputFile(const std::string& name) : name_(name) {
    if (name == "-") {
        return;
    }
    std::error_code error;
    target_ = fs::u8path(name);
    const bool special = fs::exists(target_, error) && !fs::is_regular_file(target_, error);
    if (!special) {
        part_ = target_;
        part_ += ".part";
    }
    file_.open(special ? target_ : part_, std::ios::binary | std::ios::trunc);
    if (!file_) {
        part_.clear();
        throw CliError(kFailed, "the file " + name + " can't be written");
    }
}

OutputFile::~OutputFile() {
    if (!part_.empty()) {
        std::error_code error;
        file_.close();
        fs::remove(part_, error);
    }
}

std::ostream& OutputFile::Stream() noexcept {
    return target_.empty() ? std::cout : static_cast<std::ostream&>(file_);
}

void OutputFile::Finish() {
    Stream().flush();
    bool written = Stream().good();
    if (!target_.empty()) {
        file_.close();
        written = written && !file_.fail();
    }
    std::error_code error;
    if (written && !part_.empty()) {
        fs::rename(part_, target_, error);
    }
    if (!written || error) {
        throw CliError(kFailed, "not everything could be written to " +
                                    (name_ == "-" ? "standard output" : name_));
    }
    part_.clear();
}

}  // namespace CQXCLI::output
