// CRC-32 with the BZIP2 parameters: polynomial 0x04C11DB7, most significant bit first, no
// reflection, initial value 0xFFFFFFFF, final complement.
#ifndef TARN_FOUNDATION_CRC32_H
#define TARN_FOUNDATION_CRC32_H

unsigned crc32_init();
// Feeds 'length' bytes (none for a length below 1) and returns the new register.
unsigned crc32_data(unsigned crc, const unsigned char* data, int length);
unsigned crc32_final(unsigned crc);

#endif
