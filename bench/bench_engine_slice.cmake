# Whole slices of the engine with hundreds of live aircraft, through the in-process harness.
target_link_libraries(bench_engine_slice PRIVATE zark_harness)
