#include "infrastructure/utility/BigEndianWriter.h"

// Not inline: GCC 12 takes the header of a QByteArray for all of it and warns of the bytes behind.
char* BigEndianWriter::beginOf(QByteArray& buffer)
{
    return buffer.data();
}
