// CRC-32 with the BZIP2 parameters, computed bit by bit without a table.
#include "foundation/Crc32.h"

#include <cstdint>

namespace {

constexpr uint32_t CRC32_POLYNOMIAL = 0x04C11DB7u;

}  // namespace

unsigned crc32_init() {
    return 0xFFFFFFFFu;
}

unsigned crc32_data(unsigned crc, const unsigned char* data, int length) {
    if (data == nullptr) {
        return crc;
    }
    uint32_t reg = crc;
    for (int i = 0; i < length; i++) {
        // From the byte's top bit down: shift, and apply the polynomial when the data bit
        // differs from the bit that leaves the register.
        for (int bit = 7; bit >= 0; bit--) {
            uint32_t data_bit = (data[i] >> bit) & 1u;
            uint32_t top_bit = reg >> 31;
            reg <<= 1;
            if (data_bit != top_bit) {
                reg ^= CRC32_POLYNOMIAL;
            }
        }
    }
    return reg;
}

unsigned crc32_final(unsigned crc) {
    return ~crc;
}
