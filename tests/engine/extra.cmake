# Whole runs through the in-process harness: engine, session and simulator double on the manual clock.
target_link_libraries(test_engine PRIVATE zark_harness)
