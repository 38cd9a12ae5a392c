# The end-to-end programs launch the host and the stand-in sender from beside themselves.
add_dependencies(e2e_tests shellhost sample-sender)

if(CMAKE_CROSSCOMPILING)
    # 10,000 files made from outside: Wine creates files in a crowded folder very slowly.
    set(many ${QUILLET_WINEPREFIX}/drive_c/quillet-many-files)
    add_test(NAME e2e_many_files_make COMMAND ${CMAKE_SOURCE_DIR}/scripts/make-many-files ${many} 10000)
    add_test(NAME e2e_many_files_remove COMMAND ${CMAKE_SOURCE_DIR}/scripts/make-many-files --remove ${many})
    set_tests_properties(e2e_many_files_make PROPERTIES FIXTURES_SETUP many_files FIXTURES_REQUIRED wine)
    set_tests_properties(e2e_many_files_remove PROPERTIES FIXTURES_CLEANUP many_files)
    set_tests_properties(e2e PROPERTIES FIXTURES_REQUIRED "wine;many_files"
        ENVIRONMENT "QUILLET_MANY_FILES=C:\\quillet-many-files")
endif()
