# The test looks for generated functions by name.
set_target_properties(test-quirks PROPERTIES ENABLE_EXPORTS ON)
