target_link_libraries(test_simlink PRIVATE simdouble_core)
# The session test over real TCP runs the double's executable.
add_dependencies(test_simlink simdouble)
