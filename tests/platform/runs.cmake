# The version tests seen as older Windows, and the display measurement at another DPI; the rest
# of the program does not depend on either.
foreach(version winxp winxp64 vista)
    quillet_add_test_run(NAME platform_${version} TARGET platform_tests WINVER ${version}
        ARGS --gtest_filter=OsVersion.*)
endforeach()
quillet_add_test_run(NAME platform_120dpi TARGET platform_tests DPI 120 ARGS --gtest_filter=DisplayScale.*)
# The 64-bit answer is kept for the process: each of these asks first, in a process of its own.
foreach(question NoVersion NoNativeSystemInfo X86)
    quillet_add_test_run(NAME platform_64bit_${question} TARGET platform_tests
        ARGS --gtest_also_run_disabled_tests --gtest_filter=OsVersion.DISABLED_${question}*)
endforeach()
