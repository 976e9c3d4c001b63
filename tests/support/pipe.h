#pragma once

#include <QtCore/QIODevice>

#include <algorithm>

/// A sequential device: hands its bytes out in small pieces and cannot be moved back.
class Pipe : public QIODevice
{
public:
    explicit Pipe(const QByteArray &bytes, int piece = 7)
        : m_bytes(bytes)
        , m_piece(piece)
    {
        setOpenMode(ReadOnly);
    }
    bool open(OpenMode) override { return false; }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char *data, qint64 size) override
    {
        const int count = int(std::min<qint64>({size, m_piece, m_bytes.size() - m_pos}));
        std::copy_n(m_bytes.constData() + m_pos, count, data);
        m_pos += count;
        return count;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QByteArray m_bytes;
    int m_piece;
    int m_pos = 0;
};
