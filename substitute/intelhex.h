// Intel HEX, the text form of microcontroller images.
#pragma once

#include <QIODevice>

#include <map>

namespace substitute {

/// The bytes that an image names, by address.
using FlashImage = std::map<quint32, char>;

/// Reads a whole image for a flash of `flashBytes` bytes. Throws std::runtime_error, with the
/// number of the line and what is wrong in it, unless the text consists of correct records of the
/// types 00 to 05 that name at least one byte, none of them twice and none beyond the flash, and
/// ends with an end record and at most blank lines.
FlashImage readIntelHex(QIODevice &in, quint32 flashBytes);

} // namespace substitute
