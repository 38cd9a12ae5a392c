# The version tests seen as older Windows, and the display measurement at another DPI; the rest
# of the program does not depend on either.
foreach(version winxp winxp64 vista)
    quillet_add_test_run(NAME platform_${version} TARGET platform_tests WINVER ${version}
        ARGS --gtest_filter=OsVersion.*)
endforeach()
quillet_add_test_run(NAME platform_120dpi TARGET platform_tests DPI 120 ARGS --gtest_filter=DisplayScale.*)
