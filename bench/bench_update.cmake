# The archive comes from the update server double on loopback.
target_link_libraries(bench_update PRIVATE updatedouble)
add_dependencies(bench_update zark_install_fixture)
