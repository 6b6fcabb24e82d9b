// Capture files, byte by byte, the good and the damaged.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace tool {

using Bytes = std::string;

enum class Order { little, big };

class Writer {
public:
    explicit Writer(Order order) : order_(order) {}

    Writer& u16(std::uint16_t value) { return put(value, 2); }
    Writer& u32(std::uint32_t value) { return put(value, 4); }
    Writer& bytes(const Bytes& more)
    {
        bytes_ += more;
        return *this;
    }
    [[nodiscard]] const Bytes& done() const { return bytes_; }

private:
    Writer& put(std::uint32_t value, int size)
    {
        for (int i = 0; i < size; ++i) {
            const int at = order_ == Order::little ? i : size - 1 - i;
            bytes_ += static_cast<char>(value >> (8 * at) & 0xFF);
        }
        return *this;
    }

    Order order_;
    Bytes bytes_;
};

// A frame of 60 bytes from 02:00:00:00:00:<station>, to everybody unless a station is named.
inline Bytes frame(unsigned char station, unsigned char to = 0)
{
    Bytes bytes = to == 0 ? Bytes(6, '\xff') : Bytes("\x02\0\0\0\0", 5) + static_cast<char>(to);
    bytes += Bytes("\x02\0\0\0\0", 5) + static_cast<char>(station);
    bytes += "\x08";
    bytes.resize(60, '\0');
    return bytes;
}

struct Packet {
    std::uint32_t seconds;
    std::uint32_t fraction;
    Bytes bytes;
    std::uint32_t original_length = 0;  // 0 = that of the bytes
};

constexpr std::uint32_t magic_us = 0xA1B2C3D4;
constexpr std::uint32_t magic_ns = 0xA1B23C4D;
constexpr std::uint32_t ethernet = 1;

inline Bytes pcap_header(Order order = Order::little, std::uint32_t magic = magic_us, std::uint32_t linktype = ethernet)
{
    return Writer(order).u32(magic).u16(2).u16(4).u32(0).u32(0).u32(65535).u32(linktype).done();
}

inline Bytes pcap_packet(const Packet& packet, Order order = Order::little)
{
    const auto length = static_cast<std::uint32_t>(packet.bytes.size());
    return Writer(order)
        .u32(packet.seconds)
        .u32(packet.fraction)
        .u32(length)
        .u32(packet.original_length == 0 ? length : packet.original_length)
        .bytes(packet.bytes)
        .done();
}

inline Bytes pcap(const std::vector<Packet>& packets, Order order = Order::little, std::uint32_t magic = magic_us)
{
    Bytes file = pcap_header(order, magic);
    for (const Packet& packet : packets) file += pcap_packet(packet, order);
    return file;
}

inline Bytes pcapng_block(std::uint32_t type, const Bytes& body)
{
    Bytes padded = body;
    padded.resize((body.size() + 3) / 4 * 4, '\0');
    const auto size = static_cast<std::uint32_t>(padded.size() + 12);
    return Writer(Order::little).u32(type).u32(size).bytes(padded).u32(size).done();
}

// One section: its header, one Ethernet interface, its packets with microseconds.
inline Bytes pcapng_section(const std::vector<Packet>& packets)
{
    Bytes file = pcapng_block(
        0x0A0D0D0A, Writer(Order::little).u32(0x1A2B3C4D).u16(1).u16(0).u32(0xFFFFFFFF).u32(0xFFFFFFFF).done());
    file += pcapng_block(1, Writer(Order::little).u16(ethernet).u16(0).u32(65535).done());
    for (const Packet& packet : packets) {
        const std::uint64_t time_us = std::uint64_t{packet.seconds} * 1000000 + packet.fraction;
        const auto length = static_cast<std::uint32_t>(packet.bytes.size());
        file += pcapng_block(6, Writer(Order::little)
                                    .u32(0)
                                    .u32(static_cast<std::uint32_t>(time_us >> 32))
                                    .u32(static_cast<std::uint32_t>(time_us))
                                    .u32(length)
                                    .u32(length)
                                    .bytes(packet.bytes)
                                    .done());
    }
    return file;
}

}  // namespace tool
