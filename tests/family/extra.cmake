# An empty type table is a fault once there are definitions and their generator.
if(TARGET l3gen)
  target_compile_definitions(test-${name} PRIVATE VELNOR_HAS_TYPES)
endif()
