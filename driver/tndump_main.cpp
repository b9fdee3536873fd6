// Entry point of the dump program: set up the decimal context, run the application, and return
// its status as the exit status.
#include <mpdecimal.h>

#include "driver/TarnApplication.h"
#include "driver/UNIXDumpApplication.h"
#include "foundation/OutOfMemory.h"

int main(int argc, char** argv) {
    tarn_report_out_of_memory();
    mpd_ieee_context(&Tarn_MPD_Context, 64);
    UNIXDumpApplication application(argc, argv);
    return application.Go();
}
