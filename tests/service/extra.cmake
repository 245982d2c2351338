# The client tests talk to the traffic service double over loopback.
target_link_libraries(test_service PRIVATE trafficdouble)
