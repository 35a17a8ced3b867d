// The parts that a remote request is made of, each timed by itself.
#pragma once

#include <cstddef>
#include <string>

#include <qxdb/QXIOBase.h>

namespace qxdb_bench {

struct Parts {
    double derivation = 0;  ///< two: the client's for sending and for receiving
    double cipher = 0;      ///< both bodies, enciphered and deciphered
    double socket = 0;      ///< bare echo of frames of the same sizes over loopback
    double encoding = 0;    ///< both bodies, encoded and decoded

    double sequence = 0;  ///< derivation, encipherment, echo, derivation, decipherment in a row

    double Mandated() const { return derivation + cipher + socket; }
};

/// Medians, in seconds. `emptyRequest` and `emptyReply` are decoded into.
Parts Measure(CQXBASE::QXIOBase& request, CQXBASE::QXIOBase& emptyRequest, CQXBASE::QXIOBase& reply,
              CQXBASE::QXIOBase& emptyReply, int runs);

/// CDR of an object.
std::string Encode(CQXBASE::QXIOBase& object);

}  // namespace qxdb_bench
