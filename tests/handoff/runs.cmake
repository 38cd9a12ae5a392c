# The tests start the sample sender, which the build puts beside them.
add_dependencies(handoff_tests sample-sender)
# Before Windows Vista a failed plain start is not retried through the shell.
quillet_add_test_run(NAME handoff_winxp TARGET handoff_tests WINVER winxp
    ARGS --gtest_filter=SenderLaunchTest.RetriesThroughTheShellFromVistaOn)
