# libvelora.so: the agent and the bridge in one library that needs only the C library.
add_library(velora SHARED $<TARGET_OBJECTS:velora_agent> $<TARGET_OBJECTS:velora_bridge>)
set_target_properties(velora PROPERTIES
  LIBRARY_OUTPUT_DIRECTORY ${VELORA_DIST}/lib
  LINK_DEPENDS ${CMAKE_SOURCE_DIR}/src/velora.map)
target_link_options(velora PRIVATE
  -Wl,--version-script=${CMAKE_SOURCE_DIR}/src/velora.map -Wl,-Bsymbolic)
if(NOT VELORA_SANITIZE)
  target_link_options(velora PRIVATE -static-libstdc++ -static-libgcc -Wl,-z,defs)
endif()
