# The fidelity tool's measures.
target_link_libraries(test_tools PRIVATE fidelity_core)
