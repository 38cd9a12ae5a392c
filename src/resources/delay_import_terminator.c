/* GNU ld lays the delay-load descriptors made by dlltool out in .text$2, one after another, but
   neither ends the table with an empty descriptor nor points the image's delay-import directory at
   it. This empty descriptor sorts right after them and ends the table;
   scripts/set-delay-import-directory then fills in the directory. It must be 4-aligned, as the
   others: left to itself, GCC aligns an object of 32 bytes to 32, and the gap that leaves after
   the table whenever its end is not a multiple of 32 breaks it. */
#include <windows.h>

__attribute__((section(".text$2zzzz"), used, aligned(4))) const IMAGE_DELAYLOAD_DESCRIPTOR
    quillet_delay_import_terminator = {};
