#include <kilnx/cache/crc64.h>
#include <kilnx/cache/crc64_p.h>

#include <QtTest/QtTest>

#include <array>
#include <random>

namespace
{

// The plain method: one table, one byte at a time.
quint64 plainCrc(const uchar *data, size_t length)
{
    static const std::array<quint64, 256> table = [] {
        std::array<quint64, 256> entries;
        for (quint64 i = 0; i < 256; ++i) {
            quint64 value = i;
            for (int bit = 0; bit < 8; ++bit)
                value = (value & 1) ? (value >> 1) ^ 0x95AC9329AC4BC9B5 : value >> 1;
            entries[i] = value;
        }
        return entries;
    }();
    quint64 crc = 0xFFFFFFFFFFFFFFFF;
    for (size_t i = 0; i < length; ++i)
        crc = table[(data[i] ^ crc) & 0xFF] ^ (crc >> 8);
    return crc;
}

// Both ways of the library, whichever of them this processor takes.
bool isRight(const uchar *data, unsigned int length)
{
    const quint64 expected = plainCrc(data, length);
    return crc64(data, length) == expected && Kiln::crc64ByTables(data, length) == expected;
}

} // namespace

class TestCrc64 : public QObject
{
    Q_OBJECT

private slots:
    void knownValues()
    {
        QCOMPARE(crc64(nullptr, 0), Q_UINT64_C(0xFFFFFFFFFFFFFFFF));
        QCOMPARE(crc64("123456789", 9), Q_UINT64_C(0xCAA717168609F281));
        QCOMPARE(crc64("\xff\xff\xff\xff\xff\xff\xff\xff", 8), Q_UINT64_C(0));
    }

    // 300 bytes pass the lengths at which the method changes: 16, 64, and whole multiples of them.
    void everyShortLengthAndAlignment()
    {
        std::mt19937 random(1);
        std::vector<uchar> bytes(300 + 16);
        for (uchar &byte : bytes)
            byte = static_cast<uchar>(random());
        for (unsigned int length = 0; length <= 300; ++length) {
            for (int start = 0; start < 16; ++start) {
                // A copy of exact length lets the sanitizer see a read past the end.
                const std::vector<uchar> exact(&bytes[start], &bytes[start] + length);
                QVERIFY(isRight(exact.data(), length));
                QVERIFY(isRight(&bytes[start], length));
            }
        }
    }

    void randomLengths()
    {
        std::mt19937 random(2);
        for (int round = 0; round < 100; ++round) {
            std::vector<uchar> bytes(random() % 200000);
            for (uchar &byte : bytes)
                byte = static_cast<uchar>(random());
            QVERIFY(isRight(bytes.data(), static_cast<unsigned int>(bytes.size())));
        }
    }
};

QTEST_APPLESS_MAIN(TestCrc64)

#include "tst_crc64.moc"
