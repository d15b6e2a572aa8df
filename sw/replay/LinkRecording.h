// A link's traffic in a file, as seen from the client's end:
//
//   header  | 89 "LNK" 0D 0A 1A 0A | version u16 | IPv4 u32 | port u16 | start, ms since 1970 u64 |
//   record  | microseconds since the start u64 | kind u8 | size u32 | size bytes |
//
// Integers are big-endian; address and port are those of the client's end. Records are in order of
// time. Kinds: 0 bytes from the client, 1 bytes from the server, 2 the client has closed, 3 the
// server has closed. A closing record is empty and comes last; others hold 1 byte to 1 MiB.
#pragma once

#include <QByteArray>
#include <QFile>
#include <QHostAddress>
#include <QString>

/// The side that bytes come from.
enum Side { Side_Client, Side_Server };

/// A piece of one side's stream, or its end.
struct LinkRecord
{
    qint64 timeUs = 0; ///< since the start
    Side side = Side_Client;
    bool isClose = false;
    QByteArray bytes; ///< split anywhere; empty for the end
};

/// What a recording says about its link.
struct LinkRecordingHeader
{
    static constexpr int SIZE_BYTES = 24;
    static constexpr quint16 VERSION = 1;

    QHostAddress clientAddress;
    quint16 clientPort = 0;
    quint64 startMs = 0; ///< since 1970, UTC
};

/// Writes a recording. Each record is in the file when the call returns, whatever happens later.
class LinkRecordingWriter
{
public:
    /// Creates the file. False, with getError, if that fails or the file exists already.
    bool open(const QString& fileName, const LinkRecordingHeader& header);
    /// Appends a record; one above the size limit is split into several.
    bool write(const LinkRecord& record);

    QString getError() const { return file.errorString(); }

private:
    bool writeRecord(qint64 timeUs, int kind, const char* bytes, int size);

    QFile file;
};

/// Reads a recording, record by record.
class LinkRecordingReader
{
public:
    static constexpr quint32 MAX_RECORD_BYTES = 1 << 20;

    /// False, with getError, if the file is not a recording of this version.
    bool open(const QString& fileName);
    const LinkRecordingHeader& getHeader() const { return header; }

    /// The next record. False at the end, with getError empty, and at a malformed record, with
    /// getError naming the fault and its place.
    bool read(LinkRecord& record);
    QString getError() const { return error; }
    /// Goes back to the first record.
    bool rewind();

private:
    bool fail(const QString& fault);

    QFile file;
    LinkRecordingHeader header;
    qint64 latestUs = 0;
    bool isClosed = false;
    QString error;
};
