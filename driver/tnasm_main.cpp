// Entry point of the assembler: set up the decimal context, run the application, and return
// its status as the exit status.
#include <mpdecimal.h>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "driver/TarnApplication.h"
#include "driver/UNIXAssemblerApplication.h"

int main(int argc, char** argv) {
#ifdef __GLIBC__
    // A large program makes and frees hundreds of thousands of small objects (names, tables of
    // functions); the allocator's fast bins would only put off merging them until a large block
    // is asked for, and then merge them all at once.
    (void)mallopt(M_MXFAST, 0);
#endif
    mpd_ieee_context(&Tarn_MPD_Context, 64);
    UNIXAssemblerApplication application(argc, argv);
    return application.Go();
}
