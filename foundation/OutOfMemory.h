// Running out of memory ends the program with one report, "<program>: Out of memory", and exit
// status 1, wherever it happens: in operator new (through the new-handler), in a container that
// grows with realloc, or in a mapping. Nothing is unwound: the compiled file only gets its real
// header after the last allocation of a run, so an output cut short here keeps its placeholder
// header, which every loader refuses.
#ifndef TARN_FOUNDATION_OUTOFMEMORY_H
#define TARN_FOUNDATION_OUTOFMEMORY_H

// Writes the report straight to standard error, without allocating, and exits with status 1.
// The program name is the base name of the name the program was started by, as for every
// other report.
[[noreturn]] void tarn_out_of_memory();

// Makes every failing operator new end in tarn_out_of_memory. Called first thing in main.
void tarn_report_out_of_memory();

#endif
