# The command is loaded from beside the program, and compared with Quillet.dll on the same items;
# its large selection is the end-to-end tests' folder of 10,000 files (tests/e2e/runs.cmake).
add_dependencies(command_tests QuilletCommand sample-sender)
if(CMAKE_CROSSCOMPILING)
    set_tests_properties(command PROPERTIES FIXTURES_REQUIRED "wine;many_files"
        ENVIRONMENT "QUILLET_MANY_FILES=C:\\quillet-many-files")
endif()
