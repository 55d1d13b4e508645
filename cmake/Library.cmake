# libvelora.so: the agent and the bridge in one library that needs only the C library.
function(velora_agent_library name directory)
  add_library(${name} SHARED ${ARGN} $<TARGET_OBJECTS:velora_agent> $<TARGET_OBJECTS:velora_bridge>)
  set_target_properties(${name} PROPERTIES
    OUTPUT_NAME velora
    LIBRARY_OUTPUT_DIRECTORY ${directory}
    LINK_DEPENDS ${CMAKE_SOURCE_DIR}/src/velora.map)
  target_link_options(${name} PRIVATE
    -Wl,--version-script=${CMAKE_SOURCE_DIR}/src/velora.map -Wl,-Bsymbolic)
  if(NOT VELORA_SANITIZE)
    target_link_options(${name} PRIVATE -static-libstdc++ -static-libgcc -Wl,-z,defs)
  endif()
endfunction()
velora_agent_library(velora ${VELORA_DIST}/lib)
