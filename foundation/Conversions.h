// Conversions between texts, integers, doubles and decimals, and the program-wide decimal
// context they work in. The application offers them under the same names, as static members.
#ifndef TARN_FOUNDATION_CONVERSIONS_H
#define TARN_FOUNDATION_CONVERSIONS_H

#include <mpdecimal.h>

// The program-wide decimal context (IEEE 754 decimal64). main sets it up before anything else;
// every decimal conversion and value works in it.
extern mpd_context_t Tarn_MPD_Context;

// Results are allocated with array new and owned by the caller; 'length' and 'size' receive
// the text's length and the allocated size when given. Bad text sets '*error' to 1 and gives
// 0; a 'length' of -1 means NUL-terminated.
int stoi(const char* text, int length = -1, int* error = nullptr);
// 'buffer_size' is how many bytes may be read at 'text' (-1: unknown), so the byte behind a
// counted text is looked at only when it lies inside the buffer.
double stod(const char* text, int length = -1, int buffer_size = -1, int* error = nullptr);
char* itos(int value, int* length = nullptr, int* size = nullptr);
char* dtos(double value, int* length = nullptr, int* size = nullptr);
// Decimals are made with mpd_new in Tarn_MPD_Context and freed by the caller with mpd_del.
mpd_t* stompd(const char* text, int length = -1, int* error = nullptr);
mpd_t* itompd(int value);
mpd_t* dtompd(double value);
mpd_t* mpdtompd(const mpd_t* value);
// Truncates toward zero; NaN, infinities and values outside 32 bits are errors.
int mpdtoi(const mpd_t* value, int* error = nullptr);
char* mpdtos(const mpd_t* value, int* length = nullptr, int* size = nullptr);
double mpdtod(const mpd_t* value);
// Length of the text mpdtos gives for 'value'.
int mpdsize(const mpd_t* value);

// Value of the hexadecimal (or decimal) digit 'c', -1 for any other byte.
int digit_value(unsigned char c);

#endif
