// A socket whose incoming bytes come from memory, so that a case decides how they are split.
#pragma once

#include <QTcpSocket>

#include <algorithm>
#include <cstring>

/// Looks connected to its users. Give it bytes with feed.
class MemorySocket : public QTcpSocket
{
public:
    MemorySocket()
    {
        setSocketState(QAbstractSocket::ConnectedState);
        setOpenMode(QIODevice::ReadWrite | QIODevice::Unbuffered);
    }
    ~MemorySocket() override { setSocketState(QAbstractSocket::UnconnectedState); }

    /// Makes these bytes arrive, together with those that nobody has read yet.
    void feed(const QByteArray& bytes)
    {
        waiting.remove(0, taken);
        taken = 0;
        waiting.append(bytes);
        Q_EMIT readyRead();
    }

    /// The peer closes the link.
    void drop()
    {
        setSocketState(QAbstractSocket::UnconnectedState);
        Q_EMIT disconnected();
    }

    qint64 bytesAvailable() const override { return waiting.size() - taken; }

    QByteArray written; ///< what was sent

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        const int size = static_cast<int>(std::min<qint64>(maxSize, bytesAvailable()));
        std::memcpy(data, waiting.constData() + taken, static_cast<std::size_t>(size));
        taken += size;
        return size;
    }
    qint64 writeData(const char* data, qint64 size) override
    {
        written.append(data, static_cast<int>(size));
        return size;
    }

private:
    QByteArray waiting;
    int taken = 0;
};
