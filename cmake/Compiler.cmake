# Warnings, hardening, sanitizers and ccache, for every target.
find_program(CCACHE ccache)
if(CCACHE)
  # Without this it compiles anew whatever includes precompiled headers.
  set(launcher env CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE})
  set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
endif()

set(VELORA_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize takes them")
option(VELORA_FUZZ "Build the fuzzers and nothing else" OFF)
option(VELORA_UNITS_ONLY "Leave out the bridge, the jars, the demo and the real-JVM tests" OFF)

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wno-missing-field-initializers
                    $<$<COMPILE_LANGUAGE:CXX>:-Wno-variadic-macros> -Werror
                    -fvisibility=hidden -fvisibility-inlines-hidden -fstack-protector-strong
                    -ffile-prefix-map=${CMAKE_SOURCE_DIR}/= -fno-omit-frame-pointer)
add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)

if(VELORA_SANITIZE)
  add_compile_options(-fsanitize=${VELORA_SANITIZE} -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VELORA_SANITIZE})
else()
  add_compile_options($<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  add_compile_options(-Wthread-safety)
endif()
