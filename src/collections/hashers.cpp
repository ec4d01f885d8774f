#include "collections/hashers.h"

namespace Collections {

namespace {

// Tail bytes enter the hash as signed chars, so bytes of 0x80 and above set the high bits.
std::uint32_t signExtended(unsigned char byte) {
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(static_cast<signed char>(byte)));
}

} // namespace

std::uint32_t CStringHasher::hashText(const char* text) {
    if (text == nullptr || *text == '\0')
        return 0;
    const auto* p = reinterpret_cast<const unsigned char*>(text);
    std::uint32_t h = 0;
    // p[0] is known to be non-zero on every round.
    while (p[1] != 0 && p[2] != 0 && p[3] != 0) {
        h ^= std::uint32_t(p[0]) | std::uint32_t(p[1]) << 8 | std::uint32_t(p[2]) << 16 |
             std::uint32_t(p[3]) << 24;
        p += 4;
        h = (h >> 1) | (h << 31);
        if (*p == 0)
            return h;
    }
    h ^= signExtended(p[0]);
    if (p[1] == 0)
        return h;
    h ^= signExtended(p[1]) << 8;
    if (p[2] == 0)
        return h;
    h ^= signExtended(p[2]) << 16;
    return h;
}

} // namespace Collections
