# The menu seen from older Windows and on scaled displays: only the tests whose outcome depends
# on the system (the item's form, its picture) or on the display (the picture's size, the
# metrics of the owner-drawn item, which older systems draw at any DPI).
set(menu_forms QueryContextMenuTest.InsertsOneItem*:QueryContextMenuTest.MissingSender*)
set(menu_by_dpi MenuIcon.*:OwnerDraw.Measures*:OwnerDraw.Paints*)
quillet_add_test_run(NAME menu_winxp TARGET menu_tests WINVER winxp DPI 144
    ARGS --gtest_filter=${menu_forms}:${menu_by_dpi})
quillet_add_test_run(NAME menu_winxp64 TARGET menu_tests WINVER winxp64 ARGS --gtest_filter=${menu_forms}:MenuIcon.*)
foreach(dpi 120 144 240 384)
    quillet_add_test_run(NAME menu_${dpi}dpi TARGET menu_tests DPI ${dpi} ARGS --gtest_filter=${menu_by_dpi})
endforeach()
