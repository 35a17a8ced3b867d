// Objects to bytes and back, as the wire carries them.
#pragma once

#include <string>
#include <string_view>

#include <ace/CDR_Stream.h>

#include <qxdb/QXIOBase.h>

constexpr int kLittleEndian = 1;
constexpr int kBigEndian = 0;

/// The object's little-endian encoding from offset 0. Checks that it stays within the object's own
/// size estimate.
std::string Encode(CQXBASE::QXIOBase& object);

/// The good bit that reading `object` from exactly these bytes leaves.
int Decode(std::string_view bytes, CQXBASE::QXIOBase& object, int byteOrder = kLittleEndian);
