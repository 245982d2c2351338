# The snapshot is built from the recorded flights of the traffic service double.
target_link_libraries(bench_decode PRIVATE trafficdouble)
