# The start of a run reads the generated real data of the install fixture; the end-to-end test runs the
# program and both doubles as the user's machine would.
add_dependencies(test_frame zark_install_fixture ZARK_P3D simdouble trafficdouble_server)
# The update check talks to the update server double in-process.
target_link_libraries(test_frame PRIVATE updatedouble)
# The Linux window's screenshot test needs an X display with fixed fonts: Xvfb, through xvfb-run. The
# plain build runs it; under the sanitizers Xlib's and fontconfig's own caches would read as leaks.
find_program(XVFB_RUN xvfb-run)
if(XVFB_RUN AND NOT ZARK_SANITIZE AND NOT ZARK_TSAN)
  add_test(NAME window_screenshot
           COMMAND ${XVFB_RUN} -a -s "-screen 0 1024x768x24" $<TARGET_FILE:test_frame>
                   --gtest_filter=WindowScreenshotTest.*
           WORKING_DIRECTORY ${CMAKE_BINARY_DIR})
  set_tests_properties(window_screenshot PROPERTIES ENVIRONMENT ZARK_SCREENSHOT=1 TIMEOUT 120)
endif()
