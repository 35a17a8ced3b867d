#include "print.h"

#include <iostream>

namespace tour {

std::string Utf8(const std::wstring& text) {
    return CQXDB::QXValue::Text(text).ToUtf8();
}

void Tell(const std::string& label, const std::string& detail) {
    std::cout << "  " << label << ": " << detail << "\n";
}

void Print(const CQXDB::QXRecordset& rows) {
    std::string line;
    for (std::size_t column = 0; column < rows.ColumnCount(); ++column) {
        line += (column == 0 ? "" : " | ") + rows.Column(column).NameUtf8();
    }
    std::cout << "    [" << line << "]\n";
    for (auto row : rows) {
        std::cout << "    ";
        for (std::size_t column = 0; column < rows.ColumnCount(); ++column) {
            std::cout << (column == 0 ? "" : " | ")
                      << (row.IsNull(column) ? "NULL" : row.GetTextUtf8(column));
        }
        std::cout << "\n";
    }
}

}  // namespace tour
