# Windows programs built here run under Wine, in a prefix private to this build tree.
find_program(QUILLET_WINE64 NAMES wine64 PATHS /usr/lib/wine NO_DEFAULT_PATH)
find_program(QUILLET_WINE64 NAMES wine64 wine)
find_program(QUILLET_WINESERVER NAMES wineserver PATHS /usr/lib/wine NO_DEFAULT_PATH)
find_program(QUILLET_WINESERVER NAMES wineserver)
if(NOT QUILLET_WINE64 OR NOT QUILLET_WINESERVER)
    message(WARNING "Wine not found: tests cannot run (scripts/install-deps installs it)")
endif()

set(QUILLET_WINEPREFIX ${CMAKE_BINARY_DIR}/wineprefix)
set(QUILLET_WINE_RUN ${CMAKE_BINARY_DIR}/wine-run)
configure_file(${CMAKE_SOURCE_DIR}/scripts/wine-run.in ${QUILLET_WINE_RUN}
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                     WORLD_READ WORLD_EXECUTE
    @ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR ${QUILLET_WINE_RUN})
