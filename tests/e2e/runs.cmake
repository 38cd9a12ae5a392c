# The end-to-end programs launch the host and the stand-in sender from beside themselves.
add_dependencies(e2e_tests shellhost sample-sender)
