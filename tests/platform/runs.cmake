# The version tests and display measurement, seen as older Windows and at other DPI.
quillet_add_test_run(NAME platform_winxp TARGET platform_tests WINVER winxp)
quillet_add_test_run(NAME platform_winxp64 TARGET platform_tests WINVER winxp64)
quillet_add_test_run(NAME platform_vista TARGET platform_tests WINVER vista)
quillet_add_test_run(NAME platform_120dpi TARGET platform_tests DPI 120)
