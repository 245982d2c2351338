# The start of a run reads the generated real data of the install fixture; the end-to-end test runs the
# program and both doubles as the user's machine would.
add_dependencies(test_frame zark_install_fixture ZARK_P3D simdouble trafficdouble_server)
# The update check talks to the update server double in-process.
target_link_libraries(test_frame PRIVATE updatedouble)
