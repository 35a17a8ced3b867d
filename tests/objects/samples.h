// Objects that hold every type and the values that break encodings.
#pragma once

#include <vector>

#include <qxdb/QXCommandList.h>
#include <qxdb/QXRsList.h>

namespace qxdb_test {

/// Values of every type, nulls, ends of ranges, empty and long texts, bytes of every kind.
std::vector<CQXDB::QXValue> EdgeValues();

/// One column a type with the edge values and nulls in it, a Mixed one, one of nulls, one constant.
CQXDB::QXRecordset EveryType();

/// Rows that compress: running numbers, prices, states, names.
CQXDB::QXRecordset Orders(std::size_t rows);

CQXDB::QXDataSource FilledDataSource();
CQXDB::QXCommand FilledCommand();
/// Three commands a round: two inserts of different numbers of parameters, one without any.
CQXDB::QXCommandList MixedList(int rounds);
/// A recordset of every type, an empty one, and one of `rows` orders.
CQXDB::QXRsList FilledRsList(std::size_t rows);

/// Whether both have the same columns, types and cells, to the bit.
bool Same(const CQXDB::QXRecordset& a, const CQXDB::QXRecordset& b);
bool Same(const CQXDB::QXDataSource& a, const CQXDB::QXDataSource& b);
bool Same(const CQXDB::QXCommand& a, const CQXDB::QXCommand& b);

}  // namespace qxdb_test
