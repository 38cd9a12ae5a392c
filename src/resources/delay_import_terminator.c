/* GNU ld lays the delay-load descriptors made by dlltool out in .text$2, one after another, but
   neither ends the table with an empty descriptor nor points the image's delay-import directory at
   it. This empty descriptor (4-aligned by its type, as the others) sorts right after them and ends
   the table; scripts/set-delay-import-directory then fills in the directory. */
#include <windows.h>

__attribute__((section(".text$2zzzz"), used)) const IMAGE_DELAYLOAD_DESCRIPTOR quillet_delay_import_terminator = {};
