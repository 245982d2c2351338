# The start of a run reads the generated real data of the install fixture.
add_dependencies(test_frame zark_install_fixture)
