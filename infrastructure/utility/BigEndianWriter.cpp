#include "infrastructure/utility/BigEndianWriter.h"

#include "infrastructure/utility/Log.h"

// Not inline: GCC 12 mistakes the header of a QByteArray for all of it and warns about the bytes
// after it.
char* BigEndianWriter::beginOf(QByteArray& buffer)
{
    return buffer.data();
}

void BigEndianWriter::reportSize(qint64 written, qint64 announced)
{
    VELLOG_ERR() << written << " bytes written where " << announced << " were announced";
}
