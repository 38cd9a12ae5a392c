# The menu seen from older Windows and on scaled displays. The tests read what they were run
# as and expect the form and picture size of that system.
quillet_add_test_run(NAME menu_winxp TARGET menu_tests WINVER winxp DPI 144)
quillet_add_test_run(NAME menu_winxp64 TARGET menu_tests WINVER winxp64)
foreach(dpi 120 144 240)
    quillet_add_test_run(NAME menu_${dpi}dpi TARGET menu_tests DPI ${dpi}
        ARGS --gtest_filter=MenuIcon.*:OwnerDraw.*:QueryContextMenuTest.InsertsOneItemAtTheGivenPosition)
endforeach()
