// Entry point of the assembler: set up the decimal context, run the application, and return
// its status as the exit status.
#include <mpdecimal.h>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "driver/TarnApplication.h"
#include "driver/UNIXAssemblerApplication.h"
#include "foundation/OutOfMemory.h"

int main(int argc, char** argv) {
#ifdef __GLIBC__
    // A large program makes and frees hundreds of thousands of small objects (names, tables of
    // functions); the allocator's fast bins would only put off merging them until a large block
    // is asked for, and then merge them all at once.
    (void)mallopt(M_MXFAST, 0);
    // Large blocks (the name tables, the dictionary's entry table, the repacking's tables) are
    // mapped on their own and unmapped when freed, so that the memory of one stage is handed
    // back before the next; by default the allocator raises this bound as blocks are freed,
    // and keeps ever larger freed blocks.
    (void)mallopt(M_MMAP_THRESHOLD, 128 * 1024);
#endif
    tarn_report_out_of_memory();
    mpd_ieee_context(&Tarn_MPD_Context, 64);
    UNIXAssemblerApplication application(argc, argv);
    return application.Go();
}
