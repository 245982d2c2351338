# The parking tests read the generated Zurich airport file and the database of the install fixture, and
# ask the traffic service double for parked traffic.
add_dependencies(test_parking zark_install_fixture)
target_link_libraries(test_parking PRIVATE trafficdouble)
