#include <kilnx/image/codecs.h>

#include <kilnx/image/bytestream_p.h>
#include <kilnx/image/codecs_p.h>

#include <algorithm>
#include <cstring>

namespace Kiln
{

namespace
{

constexpr int Window = 1024;      // the farthest back reference
constexpr int ShortWindow = 256;  // ... of a short packet
constexpr int MaxMatch = 258;     // the longest match
constexpr int MaxShortMatch = 64; // ... of a short packet
constexpr int MaxShortRun = 7;    // the longest run of a short packet
constexpr int MaxRun = 263;       // the longest run
constexpr int PacketsPerControl = 8;
constexpr int ShortGroup = 4;
constexpr qint64 MaxPixels = 1 << 28; // which bounds the memory beside the picture

/// Decodes packets into a plain array of pixels.
class Decoder
{
public:
    Decoder(ByteReader &in, uchar *pixels, qint64 size)
        : m_in(in)
        , m_pos(pixels)
        , m_begin(pixels)
        , m_end(pixels + size)
    {
    }

    /// False if the stream ended within a packet or referred to before the first pixel.
    bool run()
    {
        while (m_valid && m_pos < m_end && !m_in.atEnd()) {
            if (m_bit == 0)
                m_control = m_in.next();
            if (m_control >> m_bit & 1)
                copyPacket();
            else
                runPacket();
            m_bit = (m_bit + 1) % PacketsPerControl;
        }
        return m_valid && m_in.ok();
    }

private:
    void runPacket()
    {
        const uchar head = m_in.next();
        const int length = head >> 5 ? head >> 5 : m_in.next() + MaxShortRun + 1;
        const auto count = std::min<qptrdiff>(length, m_end - m_pos);
        std::memset(m_pos, head & 0x1F, static_cast<size_t>(count));
        m_pos += count;
    }

    void copyPacket()
    {
        const uchar head = m_in.next();
        const int high = head >> 6;
        const int low = head & 0x3F;
        if (low == 0) {
            const int offset = high << 8 | m_in.next();
            copy(offset + 1, m_in.next() + 3);
        } else if (m_short < ShortGroup - 1) {
            ++m_short;
            m_gathered = m_gathered << 2 | high;
            copy(m_in.next() + 1, low + 1);
        } else {
            // The fourth of a group has its offset spread over the other three.
            const int offset = m_gathered << 2 | high;
            m_short = 0;
            m_gathered = 0;
            copy(offset + 1, low + 1);
        }
    }

    void copy(int distance, int length)
    {
        if (distance > m_pos - m_begin) {
            m_valid = false;
            return;
        }
        const auto count = std::min<qptrdiff>(length, m_end - m_pos);
        if (distance >= count) {
            std::memcpy(m_pos, m_pos - distance, static_cast<size_t>(count));
        } else {
            // An overlapping copy repeats its own beginning.
            for (qptrdiff i = 0; i < count; ++i)
                m_pos[i] = m_pos[i - distance];
        }
        m_pos += count;
    }

    ByteReader &m_in;
    uchar *m_pos;
    uchar *m_begin;
    uchar *m_end;
    int m_bit = 0;
    int m_control = 0;
    int m_short = 0;    // short packets of the current group so far
    int m_gathered = 0; // two bits of each of them
    bool m_valid = true;
};

struct Packet {
    bool isMatch;
    bool isShort;
    quint16 offset; // a run: its colour in the low byte
    quint16 length;
};

struct Match {
    bool found = false;
    bool isShort = false;
    int offset = 0;
    int length = 1;
};

/// Finds the back reference that describes the pixels from a position on.
///
/// The plain search tries every distance from 2 up, extends it, and takes the longest that is
/// worth a packet, the smallest distance among equals. Whether a length is worth it follows from
/// the pixels at the position alone, and a match without a change of colour never is. So a
/// candidate must hold the same change of colour at the same place, and only those positions are
/// visited: they are chained by their pair of colours.
class MatchFinder
{
public:
    MatchFinder(const uchar *pixels, int size);
    Match find(int i) const;

private:
    static constexpr int Buckets = 1024;

    bool isWorth(int i, int length, int distance) const;
    int extend(int i, int distance, int from, int limit) const;
    bool endsDifferently(int i, int length) const
    {
        return i + length >= m_size || m_pixels[i + length] != m_pixels[i + length - 1];
    }
    int changes(int i, int length) const { return m_passed[i + length - 1] - m_passed[i]; }
    static int bucket(uchar before, uchar after) { return (before * 32 + after) % Buckets; }

    const uchar *m_pixels;
    int m_size;
    std::vector<int> m_passed;  // for each pixel, the changes of colour up to and with it
    std::vector<int> m_changes; // the positions whose pixel differs from the one before
    std::vector<int> m_earlier; // for each change, an earlier one of the same bucket, or -1
};

MatchFinder::MatchFinder(const uchar *pixels, int size)
    : m_pixels(pixels)
    , m_size(size)
    , m_passed(static_cast<size_t>(size))
{
    std::vector<int> latest(Buckets, -1);
    for (int i = 1; i < size; ++i) {
        if (pixels[i] != pixels[i - 1]) {
            int &last = latest[static_cast<size_t>(bucket(pixels[i - 1], pixels[i]))];
            m_earlier.push_back(last);
            last = static_cast<int>(m_changes.size());
            m_changes.push_back(i);
        }
        m_passed[static_cast<size_t>(i)] = static_cast<int>(m_changes.size());
    }
}

Match MatchFinder::find(int i) const
{
    Match best;
    const int limit = std::min(MaxMatch, m_size - i);
    const auto next = static_cast<size_t>(m_passed[static_cast<size_t>(i)]);
    if (next == m_changes.size() || m_changes[next] - i >= limit)
        return best;
    const int change = m_changes[next];
    const int run = change - i;
    const int farthest = std::min(i, Window);
    for (int c = m_earlier[next]; c >= 0; c = m_earlier[static_cast<size_t>(c)]) {
        const int source = m_changes[static_cast<size_t>(c)];
        const int distance = change - source;
        if (distance > farthest)
            break;
        const int runStart = c > 0 ? m_changes[static_cast<size_t>(c) - 1] : 0;
        if (source - runStart < run || m_pixels[source - 1] != m_pixels[change - 1] ||
            m_pixels[source] != m_pixels[change] ||
            m_pixels[i + best.length] != m_pixels[i + best.length - distance])
            continue;
        const int length = extend(i, distance, run + 1, limit);
        if (length <= best.length || !isWorth(i, length, distance))
            continue;
        best = {true, length <= MaxShortMatch && distance <= ShortWindow, distance, length};
        if (length == limit)
            break;
    }
    return best;
}

/// The length of the match, of which the first `from` pixels are known to be equal.
int MatchFinder::extend(int i, int distance, int from, int limit) const
{
    const uchar *here = m_pixels + i;
    const uchar *there = here - distance;
    int length = from;
    while (length + 8 <= limit && std::memcmp(here + length, there + length, 8) == 0)
        length += 8;
    while (length < limit && here[length] == there[length])
        ++length;
    return length;
}

bool MatchFinder::isWorth(int i, int length, int distance) const
{
    const int changed = changes(i, length);
    if (length <= MaxShortMatch && distance <= ShortWindow)
        return changed > 1 || endsDifferently(i, length);
    if (changed == 2) {
        const auto first = static_cast<size_t>(m_passed[static_cast<size_t>(i)]);
        const int stretches[] = {m_changes[first] - i, m_changes[first + 1] - m_changes[first],
                                 i + length - m_changes[first + 1]};
        return *std::max_element(stretches, stretches + 3) > MaxShortRun;
    }
    return length >= 4 && changed >= 3;
}

void appendMatch(std::vector<Packet> &packets, const Match &match)
{
    packets.push_back({true, match.isShort, static_cast<quint16>(match.offset),
                       static_cast<quint16>(match.length)});
}

std::vector<Packet> parse(const uchar *pixels, int size, bool useLZ)
{
    std::vector<Packet> packets;
    const MatchFinder finder(pixels, useLZ ? size : 0);
    for (int i = 0; i < size;) {
        if (useLZ && i >= 1) {
            const Match match = finder.find(i);
            if (match.found) {
                appendMatch(packets, match);
                i += match.length;
                continue;
            }
        }
        const uchar color = pixels[i];
        int length = 1;
        const auto extendTo = [&](int most) {
            while (length < most && i + length < size && pixels[i + length] == color)
                ++length;
        };
        extendTo(MaxShortRun);
        Match match;
        if (useLZ && length == MaxShortRun && i + length < size)
            match = finder.find(i + length);
        if (!match.found)
            extendTo(MaxRun);
        packets.push_back({false, length <= MaxShortRun, color, static_cast<quint16>(length)});
        i += length;
        if (match.found) {
            appendMatch(packets, match);
            i += match.length;
        }
    }
    return packets;
}

/// Gives short matches the form that is written: lengths and offsets less 1, and for each full
/// group of four the offset of the fourth in the top bits of the lengths.
void groupShortMatches(std::vector<Packet> &packets)
{
    Packet *group[ShortGroup];
    int count = 0;
    for (Packet &packet : packets) {
        if (!packet.isMatch || !packet.isShort)
            continue;
        --packet.length;
        --packet.offset;
        group[count++] = &packet;
        if (count < ShortGroup)
            continue;
        const int offset = packet.offset;
        for (int k = 0; k < ShortGroup; ++k)
            group[k]->length |= offset << 2 * k & 0xC0;
        count = 0;
    }
}

quint8 controlByte(const std::vector<Packet> &packets, size_t first)
{
    int control = 0;
    const size_t end = std::min(packets.size(), first + PacketsPerControl);
    for (size_t i = first; i < end; ++i)
        control |= packets[i].isMatch << (i - first);
    return static_cast<quint8>(control);
}

void writePackets(const std::vector<Packet> &packets, ByteWriter &out)
{
    int shortMatches = 0;
    const auto put = [&out](int byte) { out.put(static_cast<quint8>(byte & 0xFF)); };
    for (size_t i = 0; i < packets.size(); ++i) {
        if (i % PacketsPerControl == 0)
            out.put(controlByte(packets, i));
        const Packet &packet = packets[i];
        if (packet.isMatch && packet.isShort) {
            put(packet.length);
            if (++shortMatches % ShortGroup != 0)
                put(packet.offset);
        } else if (packet.isMatch) {
            const int offset = packet.offset - 1;
            put(offset >> 2 & 0xC0);
            put(offset);
            put(packet.length - 3);
        } else if (packet.isShort) {
            put(packet.length << 5 | (packet.offset & 0x1F));
        } else {
            put(packet.offset & 0x1F);
            put(packet.length - MaxShortRun - 1);
        }
    }
}

} // namespace

bool loadLZ5(QImage &image, QIODevice *device)
{
    if (!openForReading(device))
        return false;
    const int width = image.width();
    const qint64 size = qint64(width) * image.height();
    if (size > MaxPixels)
        return false;
    std::vector<uchar> pixels(static_cast<size_t>(size));
    ByteReader in(device);
    const bool ok = Decoder(in, pixels.data(), size).run();
    const int rowBytes = std::min(width, image.bytesPerLine());
    for (int y = 0; y < image.height(); ++y)
        std::copy_n(pixels.data() + qptrdiff(y) * width, rowBytes, image.scanLine(y));
    return ok;
}

bool saveLZ5(const QImage &image, QIODevice *device, bool useLZ)
{
    const qint64 size = qint64(image.width()) * image.height();
    // Pixels are bytes: there is nothing to take from rows that hold less than one for each.
    if (!openForWriting(device) || image.bytesPerLine() < image.width() || size > MaxPixels)
        return false;
    std::vector<uchar> buffer;
    const uchar *pixels = packedRows(image, image.width(), buffer);
    std::vector<Packet> packets = parse(pixels, static_cast<int>(size), useLZ);
    groupShortMatches(packets);
    ByteWriter out(device);
    writePackets(packets, out);
    return out.finish();
}

} // namespace Kiln
