#include "adapter/mysql/script.h"

#include "adapter/mysql/connection.h"
#include "adapter/run_script.h"
#include "adapter/statement_checks.h"
#include "adapter/statement_text.h"

namespace CQXDB::adapter::mysql {

MySqlScript::MySqlScript(MySqlConnection& connection, const std::string& text)
    : connection_(connection), text_(text) {}

QXCounts MySqlScript::Execute(const Parameters& parameters) {
    return parameters.empty() ? RunText() : Prepared().Execute(parameters);
}

void MySqlScript::Query(const Parameters& parameters, const Page& page, QXRecordset& rs) {
    Prepared().Query(parameters, page, rs);
}

Statement& MySqlScript::Prepared() {
    if (!prepared_) {
        prepared_ = connection_.Prepare(text_);
    }
    return *prepared_;
}

QXCounts MySqlScript::RunText() {
    const SqlDialect& dialect = connection_.Dialect();
    CheckParameterCount(ToNative(text_, dialect, ParameterStyle::QuestionMark).parameters, 0);
    QXCounts counts;
    RunScript(connection_, SplitStatements(text_, dialect),
              [&] { counts = connection_.RunText(text_); });
    return counts;
}

}  // namespace CQXDB::adapter::mysql
