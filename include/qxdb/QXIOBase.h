// The base of every object that travels between a client and the application server.
#pragma once

#include <cstddef>

#include <qxdb/Export.h>

class ACE_InputCDR;
class ACE_OutputCDR;

namespace CQXBASE {

class QXDB_OBJECTS_API QXIOBase {
  public:
    QXIOBase() = default;
    QXIOBase(const QXIOBase&) = default;
    QXIOBase(QXIOBase&&) = default;
    QXIOBase& operator=(const QXIOBase&) = default;
    QXIOBase& operator=(QXIOBase&&) = default;
    virtual ~QXIOBase();

    /// Writes the object at the stream's write position, in the stream's byte order. Returns the
    /// stream's good bit: 1 when everything was written, 0 otherwise. Never throws on a short
    /// stream.
    virtual int toCDR(ACE_OutputCDR& out) const;

    /// Replaces the object's contents by what the stream holds. Returns the stream's good bit;
    /// after 0 the object's contents are unspecified, but it can be read into again or destroyed.
    /// Whatever the bytes say, no more is allocated than they could fill.
    virtual int fromCDR(ACE_InputCDR& in);

    /// An upper bound, in bytes, of what toCDR writes for the present contents: their encoding
    /// before compression.
    virtual std::size_t size();
};

}  // namespace CQXBASE
