// Base64 of the standard alphabet with '=' padding, as one unbroken line.
#ifndef TARN_FOUNDATION_BASE64_H
#define TARN_FOUNDATION_BASE64_H

// Writes the encoding of 'length' bytes of 'in' to 'out' (no NUL, no line breaks) and returns
// the number of characters written. 'out' must hold ((length + 2) / 3) * 4 characters.
int tn_base64_encode(const unsigned char* in, unsigned char* out, int length);

// Decodes 'length' characters of 'in' into 'out' and returns the number of bytes written.
// Characters outside the alphabet are not rejected: they decode as zero bits. 'out' must hold
// (length / 4) * 3 + 2 bytes.
int tn_base64_decode(const unsigned char* in, unsigned char* out, int length);

#endif
