/* GNU ld lays the delay-load descriptors made by dlltool out in .text$2, one after another, but
   neither ends the table with an empty descriptor nor points the image's delay-import directory at
   it. This block sorts right after them and ends the table; scripts/set-delay-import-directory
   then fills in the directory. */
__attribute__((section(".text$2zzzz"), used, aligned(4))) const unsigned char quillet_delay_import_terminator[32] = {0};
